// SPDX-License-Identifier: MIT
// The WAVE "fmt " chunk, the names of wave formats, and the console dumps of both.
#pragma once

#include <cstdint>

#include "riff/riff_file.h"

// The first 18 bytes of a "fmt " body, as they stand in the file, least significant byte first. `extra_bytes` bytes of
// format-specific data follow the record in memory as they do in the file; a record with extra_bytes 0 needs none.
struct [[gnu::packed]] WaveFormat {
    std::uint16_t format_tag;       // a tag of the codec table; 1 is linear PCM
    std::uint16_t channels;         // 1 is mono
    std::uint32_t sample_rate;      // samples per second
    std::uint32_t byte_rate;        // average bytes per second
    std::uint16_t block_align;      // bytes per sample frame
    std::uint16_t bits_per_sample;  // of what is in the file; 0 where the format has no such number
    std::uint16_t extra_bytes;      // bytes that follow
};

static_assert(sizeof(WaveFormat) == 18);

// The bytes of the "fmt " body: 16 for format tag 1, whatever extra_bytes says, 18 + extra_bytes for any other tag.
std::size_t wave_format_bytes(const WaveFormat& format);

// Fills in `block_align` (channels times bits, divided by 8 and rounded down) and `byte_rate` (block_align times
// sample_rate).
void wave_format_complete(WaveFormat* format);

// Writes the "fmt " chunk, whose format it completes when its header is written (wave_format_complete). The caller owes
// wave_format_bytes at `format`.
// Returns 0; -1 after riff_write_chunk's message, `format` untouched, or without one when the body was cut short.
int riff_write_format(RiffFile* file, WaveFormat* format);

// The display name of a format tag, whether or not it has a codec, or "<1234>", the tag in at least four upper-case
// hexadecimal digits. That text is one static buffer: the next unknown tag overwrites it.
const char* wave_format_name(int tag);

// Not called by the program. Prints the record to standard output under "AUDIO information:"; `full` other than 0 adds
// the block size and the extra bytes. Kept: when extra_bytes is not 0, the bytes shown are chunk_length - 18, not
// extra_bytes. The caller owes chunk_length bytes at `format`, the record at least; a length below 18, or of 2^31 + 18
// and more, shows none.
void wave_dump_format(const WaveFormat* format, std::uint32_t chunk_length, int full);

// Not called by the program. Prints `count` bytes to standard output, sixteen a line: offset, hexadecimal, text. Only
// letters, digits and the space stand for themselves in the text, all else is ".". A count of 0 or less prints nothing.
void hex_dump(const std::uint8_t* bytes, int count);
