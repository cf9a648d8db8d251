// SPDX-License-Identifier: MIT
#include "memory_file.h"

#include <stdio.h>
#include <sys/types.h>

#include <algorithm>
#include <cstring>
#include <new>

namespace {

std::span<const std::uint8_t> current_content;

// What one stream has not delivered yet.
struct Rest {
    std::span<const std::uint8_t> bytes;
};

ssize_t read_rest(void* cookie, char* buffer, std::size_t size) {
    Rest& rest = *static_cast<Rest*>(cookie);
    const std::size_t count = std::min(size, rest.bytes.size());
    if (count > 0) std::memcpy(buffer, rest.bytes.data(), count);
    rest.bytes = rest.bytes.subspan(count);
    return static_cast<ssize_t>(count);
}

int close_rest(void* cookie) {
    delete static_cast<Rest*>(cookie);
    return 0;
}

}  // namespace

void set_memory_file(std::span<const std::uint8_t> content) {
    current_content = content;
}

extern "C" FILE* __real_fopen(const char* path, const char* mode);

extern "C" FILE* __wrap_fopen(const char* path, const char* mode) {
    if (std::strcmp(path, memory_file_name) != 0) return __real_fopen(path, mode);
    return fopencookie(new Rest{current_content}, mode, {read_rest, nullptr, nullptr, close_rest});
}
