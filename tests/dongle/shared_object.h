// SPDX-License-Identifier: MIT
// What a shared library promises the dynamic linker: read from its ELF section headers (System V ABI, chapters 4, 5).
#pragma once

#include <string>
#include <vector>

struct SharedObject {
    std::string soname;                 // empty: none
    std::vector<std::string> needed;    // the libraries that it asks for
    std::vector<std::string> exported;  // defined dynamic symbols that others can bind to, sorted
    std::vector<std::string> imported;  // undefined dynamic symbols, sorted
    bool defines_versions = false;      // a version definition section is there
};

// A 64-bit little-endian file; the test fails when it cannot be read as one.
SharedObject read_shared_object(const std::string& path);
