// SPDX-License-Identifier: MIT
#include "riff/allocation_faults.h"

#include <algorithm>
#include <cerrno>
#include <utility>

AllocationFaults allocation_faults;

namespace {

void* out_of_memory() {
    errno = ENOMEM;
    return nullptr;
}

void note_request(std::size_t size) {
    allocation_faults.largest_request = std::max(allocation_faults.largest_request, size);
}

}  // namespace

extern "C" {

void* __real_calloc(std::size_t count, std::size_t size);
void* __real_malloc(std::size_t size);
void* __real_realloc(void* block, std::size_t size);
std::FILE* __real_fopen(const char* path, const char* mode);

void* __wrap_calloc(std::size_t count, std::size_t size) {
    return allocation_faults.callocs_fail ? out_of_memory() : __real_calloc(count, size);
}

void* __wrap_malloc(std::size_t size) {
    note_request(size);
    return allocation_faults.mallocs_fail ? out_of_memory() : __real_malloc(size);
}

void* __wrap_realloc(void* block, std::size_t size) {
    note_request(size);
    return allocation_faults.reallocs_fail ? out_of_memory() : __real_realloc(block, size);
}

std::FILE* __wrap_fopen(const char* path, const char* mode) {
    std::FILE* prepared = std::exchange(allocation_faults.stream_of_next_fopen, nullptr);
    return prepared != nullptr ? prepared : __real_fopen(path, mode);
}

}  // extern "C"
