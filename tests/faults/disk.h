// SPDX-License-Identifier: MIT
// The file system under the program's stdio streams, which can refuse to read, to write or to seek.
#pragma once

#include <cstdio>

// Opens as fopen does, "rb", "wb" or "rb+". A read gives at most 20 bytes, so that frames and records are cut between
// reads; a write that fails takes nothing.
std::FILE* open_on_disk(const char* path, const char* mode);

// From here on files are the system's own.
void use_real_files(bool real);
