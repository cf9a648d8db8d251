// SPDX-License-Identifier: MIT
// The WAVE "fmt " chunk, the names of wave formats, and the console dumps of both.
#pragma once

#include <cstdint>

#include "riff/riff_file.h"

// The first 18 bytes of a "fmt " body, as they stand in the file; extra_size bytes may follow.
struct [[gnu::packed]] WaveFormat {
    std::uint16_t format_tag;
    std::uint16_t channels;
    std::uint32_t sample_rate;
    std::uint32_t byte_rate;
    std::uint16_t block_align;
    std::uint16_t bits_per_sample;
    std::uint16_t extra_size;
    std::uint8_t extra[];
};

int riff_write_format(RiffFile* file, WaveFormat* format);
const char* wave_format_name(int tag);
void wave_dump_format(const WaveFormat* format, std::uint32_t chunk_length, int full);
void hex_dump(const std::uint8_t* bytes, int count);
