// SPDX-License-Identifier: MIT
// WAVE files as bytes.
#pragma once

#include <string>

#include "support/bytes.h"

// A chunk as it stands in a file; the size stated may differ from the body's.
Bytes chunk(const std::string& id, const Bytes& body);
Bytes chunk_stating(const std::string& id, unsigned size, const Bytes& body);
// The header of a WAVE file that states this size.
constexpr std::size_t outer_header_bytes = 12;
Bytes outer_header(unsigned size);
// The chunks behind an outer header of their size.
Bytes wave_file(const Bytes& chunks);

// What the program writes. Its outer size counts the whole file, its own header included.

// The 36 bytes of a linear PCM file in front of "data", with that outer size; a "data" header.
Bytes wave_head(unsigned outer_size);
Bytes data_head(unsigned size);
// The 44-byte head of a linear PCM file with `data` bytes of audio.
Bytes pcm_head(std::size_t data);
// A whole linear PCM file, and one of any other format, both cut in front of "data" when there is no audio.
Bytes pcm_file(const Bytes& audio);
struct CodedHead {
    unsigned tag, byte_rate, block_align, bits;
};
Bytes coded_file(const CodedHead& head, const Bytes& data);

// The program's one codec stream: a block goes out when the byte behind it comes, and what waits is the next file's.
struct StreamModel {
    std::size_t block_bytes = 1024;  // of linear PCM
    Bytes waiting = {};

    Bytes hands_on(const Bytes& audio);
};
