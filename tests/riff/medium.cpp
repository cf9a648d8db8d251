// SPDX-License-Identifier: MIT
#include "riff/medium.h"

#include <gtest/gtest.h>
#include <stdio.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <utility>

namespace {

Medium& medium_of(void* cookie) {
    return *static_cast<Medium*>(cookie);
}

bool is_failing(const Medium& medium, int failing, int number) {
    return failing > 0 && (medium.lasting ? number >= failing : number == failing);
}

ssize_t medium_read(void* cookie, char* buffer, size_t size) {
    Medium& medium = medium_of(cookie);
    if (medium.reads_fail) {
        errno = EIO;
        return -1;
    }
    const std::size_t left = medium.content.size() - std::min(medium.position, medium.content.size());
    const std::size_t count = std::min(size, left);
    if (count > 0) std::memcpy(buffer, medium.content.data() + medium.position, count);
    medium.position += count;
    return static_cast<ssize_t>(count);
}

ssize_t medium_write(void* cookie, const char* buffer, size_t size) {
    Medium& medium = medium_of(cookie);
    const std::size_t room = medium.capacity - std::min(medium.position, medium.capacity);
    const std::size_t count = std::min(size, room);
    medium.write_sizes.push_back(medium.content.size());
    if (is_failing(medium, medium.failing_write, static_cast<int>(medium.write_sizes.size())) || count == 0) {
        errno = ENOSPC;
        return 0;
    }
    medium.content.resize(std::max(medium.content.size(), medium.position + count));
    std::memcpy(medium.content.data() + medium.position, buffer, count);
    medium.position += count;
    return static_cast<ssize_t>(count);
}

int medium_seek(void* cookie, off64_t* offset, int whence) {
    Medium& medium = medium_of(cookie);
    if (whence == SEEK_SET) ++medium.seeks;
    if (medium.seeks_fail || (whence == SEEK_SET && is_failing(medium, medium.failing_seek, medium.seeks))) {
        errno = ESPIPE;
        return -1;
    }
    const auto base = static_cast<off64_t>(whence == SEEK_CUR   ? medium.position
                                           : whence == SEEK_END ? medium.content.size()
                                                                : 0);
    *offset += base;
    medium.position = static_cast<std::size_t>(*offset);
    return 0;
}

int medium_close(void* cookie) {
    Medium& medium = medium_of(cookie);
    ++medium.closes;
    if (!medium.close_fails) return 0;
    errno = EIO;
    return -1;
}

}  // namespace

std::FILE* open_medium(Medium& medium, bool buffered) {
    const cookie_io_functions_t operations = {medium_read, medium_write, medium_seek, medium_close};
    std::FILE* stream = fopencookie(&medium, "r+", operations);
    EXPECT_NE(stream, nullptr);
    if (!buffered) setvbuf(stream, nullptr, _IONBF, 0);
    return stream;
}

std::FILE* stream_of_next_fopen;

extern "C" {
std::FILE* __real_fopen(const char* path, const char* mode);

std::FILE* __wrap_fopen(const char* path, const char* mode) {
    std::FILE* prepared = std::exchange(stream_of_next_fopen, nullptr);
    return prepared != nullptr ? prepared : __real_fopen(path, mode);
}
}
