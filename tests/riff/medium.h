// SPDX-License-Identifier: MIT
// A stdio stream over memory that can run full, refuse to read or to seek, and fail to close.
#pragma once

#include <cstdio>

#include "support/bytes.h"

struct Medium {
    Bytes content = {};
    std::size_t position = 0;
    std::size_t capacity = 1 << 20;  // bytes; a write beyond them is cut there, then fails
    int failing_write = 0;           // its number, 1 being the first; it takes nothing. 0: none fails
    int failing_seek = 0;            // likewise, of those to a place counted from the beginning
    bool lasting = false;            // those after it fail as well
    bool reads_fail = false;
    bool seeks_fail = false;
    bool close_fails = false;
    std::vector<std::size_t> write_sizes = {};  // of the content in front of each write
    int seeks = 0;
    int closes = 0;
};

// Opened for update; `buffered` as a file's stream is, or each byte straight to the medium.
std::FILE* open_medium(Medium& medium, bool buffered = false);

// What the next fopen of the code under test gives instead of opening; the linker sends it here.
extern std::FILE* stream_of_next_fopen;
