// SPDX-License-Identifier: MIT
#include "support/allocations.h"

#include <gsm.h>

#include <algorithm>
#include <array>
#include <cerrno>

Allocations allocations;

namespace {

constexpr std::size_t most_allocations = 256;
std::array<void*, most_allocations> held;

bool next_fails(std::size_t size) {
    if (!allocations.counted) return false;
    allocations.largest = std::max(allocations.largest, size);
    const int number = ++allocations.made;
    const bool fails = allocations.failing > 0 &&
                       (allocations.lasting ? number >= allocations.failing : number == allocations.failing);
    if (fails) errno = ENOMEM;
    return fails;
}

template <typename Memory>
Memory keep(Memory memory) {
    if (allocations.counted && memory != nullptr) *std::ranges::find(held, nullptr) = memory;
    return memory;
}

void forget(const void* memory) {
    if (memory != nullptr) std::ranges::replace(held, const_cast<void*>(memory), static_cast<void*>(nullptr));
}

}  // namespace

int allocations_held() {
    return static_cast<int>(std::ssize(held) - std::ranges::count(held, nullptr));
}

extern "C" {

void* __real_malloc(std::size_t size);
void* __real_calloc(std::size_t count, std::size_t size);
void* __real_realloc(void* block, std::size_t size);
void __real_free(void* memory);
gsm __real_gsm_create();

void* __wrap_malloc(std::size_t size) {
    return next_fails(size) ? nullptr : keep(__real_malloc(size));
}

void* __wrap_calloc(std::size_t count, std::size_t size) {
    return next_fails(count * size) ? nullptr : keep(__real_calloc(count, size));
}

void* __wrap_realloc(void* block, std::size_t size) {
    if (next_fails(size)) return nullptr;
    forget(block);
    return keep(__real_realloc(block, size));
}

void __wrap_free(void* memory) {
    forget(memory);
    __real_free(memory);
}

gsm __wrap_gsm_create() {
    return next_fails(0) ? nullptr : keep(__real_gsm_create());
}

}  // extern "C"
