// SPDX-License-Identifier: MIT
// The allocator under a test: counts what the code asks for, can refuse it, and knows what was not given back. The
// linker sends malloc, calloc, realloc, free and gsm_create here for the targets of `quaver_counts_allocations`.
#pragma once

#include <cstddef>

struct Allocations {
    bool counted = false;     // requests are counted, refused and remembered only while this is set
    int failing = 0;          // the number of the first that fails, 1 being the first; 0: none does
    bool lasting = false;     // those after it fail as well
    int made = 0;             // failed ones included
    std::size_t largest = 0;  // bytes
};
extern Allocations allocations;

// Made while they were counted and not given back, in the whole process.
int allocations_held();

// In its scope the request with that number fails, and all that follow.
class FailingAllocations {
  public:
    explicit FailingAllocations(int first) { allocations = {.counted = true, .failing = first, .lasting = true}; }
    ~FailingAllocations() { allocations = {}; }
    FailingAllocations(const FailingAllocations&) = delete;
    FailingAllocations& operator=(const FailingAllocations&) = delete;
};
