// SPDX-License-Identifier: MIT
// The wave formats that have a name, and the codecs that some of them have: tag, names and init of each in one row.
#pragma once

#include <cstdint>

#include "codec/codec_stream.h"

// Makes a new stream a codec's encoder (codec_mode_encode) or decoder (any other mode). Name, both formats and block
// size stand in the stream already. In this order, an init
//   1. prints the codec's line on standard output (codec_print_line);
//   2. takes its private block, if it has one, and stores it;
//   3. sets operations, sizes and the output's bits per sample (codec_finish_init).
// Returns 0, or negative, after a message on standard error when memory ran out.
using CodecInit = int (*)(CodecStream& stream, int mode);

struct CodecEntry {
    std::uint16_t tag;             // the RIFF/WAVE format tag
    const char* name;              // in messages; null ends the table
    CodecInit init;                // null: named, not supported
    const char* option = nullptr;  // after -F on the command line; null: not offered there
};

constexpr std::uint16_t linear_pcm_tag = 0x0001;

// Ends with a row without a name. The first row is linear PCM's, which is found by its place.
extern const CodecEntry codec_table[];

// The row that is called `option` on the command line, letters as written; null when there is none.
const CodecEntry* codec_by_option(const char* option);
