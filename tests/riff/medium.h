// SPDX-License-Identifier: MIT
// A stdio stream over memory that can run full, refuse to read or to seek, and fail to close.
#pragma once

#include <cstdio>

#include "support/temp_dir.h"

struct Medium {
    Bytes content;
    std::size_t position = 0;
    std::size_t capacity = 1 << 20;  // bytes; a write beyond them is cut there, then fails
    bool reads_fail = false;
    bool seeks_fail = false;
    bool close_fails = false;
    int closes = 0;
};

// Opened for update; `buffered` as a file's stream is, or each byte straight to the medium.
std::FILE* open_medium(Medium& medium, bool buffered = false);
