// SPDX-License-Identifier: MIT
// Recordings and blocks of audio, byte by byte.
#pragma once

#include <cstdint>
#include <vector>

#include "support/bytes.h"

constexpr std::size_t frame_bytes = 12;
constexpr std::size_t block_bytes = 320;

// Frame `number`: twelve bytes that no other frame has, such as 01 a1 a2 ... ab.
Bytes frame(int number);
std::vector<Bytes> frames(int count);
// The frame with the bits of each byte in the other order.
Bytes reversed(const Bytes& content);

Bytes raw_recording(const std::vector<Bytes>& frames);

// A header, a first record of 4 bytes that is skipped, then the records, each behind its length.
Bytes dvtool_recording(const std::vector<Bytes>& records);
Bytes dvtool_header();
// Two bytes of length, low byte first, then the content.
Bytes with_length(const Bytes& content);
// 27 bytes: 15 that are not interpreted, then the frame.
Bytes record(const Bytes& frame);

// A tone with noise on it, full scale now and then; the same for the same count on every machine.
std::vector<std::int16_t> test_samples(std::size_t count);
// As many blocks of them.
Bytes test_blocks(std::size_t count);
