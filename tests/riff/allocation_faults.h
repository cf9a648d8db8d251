// SPDX-License-Identifier: MIT
// Makes calls of the code under test fail: the linker sends calloc, malloc, realloc and fopen here first.
#pragma once

#include <cstddef>
#include <cstdio>

struct AllocationFaults {
    bool callocs_fail = false;
    bool mallocs_fail = false;
    bool reallocs_fail = false;
    std::size_t largest_request = 0;            // bytes asked of malloc and realloc since this was last set to 0
    std::FILE* stream_of_next_fopen = nullptr;  // handed out instead of opening, once
};

extern AllocationFaults allocation_faults;
