// SPDX-License-Identifier: MIT
// A file in memory that the code under test opens by name, as often as it likes, without a system call.
//
// The target is linked with --wrap=fopen: what is opened for reading under `memory_file_name` is the content given
// last, every other name goes on to the C library.
#pragma once

#include <cstdint>
#include <span>

inline constexpr char memory_file_name[] = "memory file";

// The content stays the caller's and must live as long as a stream on it is open.
void set_memory_file(std::span<const std::uint8_t> content);
