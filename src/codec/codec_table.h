// SPDX-License-Identifier: MIT
// The wave formats that have a name, and the codecs that some of them have.
#pragma once

#include <cstdint>

#include "codec/codec_stream.h"

// Makes a new stream a codec's encoder (codec_mode_encode) or decoder (any other mode). Name, both formats and block
// size stand in the stream already. In this order, an init
//   1. prints the codec's line on standard output (codec_print_line);
//   2. takes its private block, if it has one, and stores it;
//   3. sets both operations, null to pass bytes through;
//   4. sets the sizes of IBUFF, above 0, and OBUFF for the mode;
//   5. sets the output format's bits per sample for the mode.
// Returns 0, or negative after its message on standard error.
using CodecInit = int (*)(CodecStream& stream, int mode);

struct CodecEntry {
    std::uint16_t tag;  // the RIFF/WAVE format tag
    const char* name;   // null ends the table
    CodecInit init;     // null: named, not supported
};

constexpr std::uint16_t linear_pcm_tag = 0x0001;

// Ends with a row without a name. The first row is linear PCM's, which is found by its place.
extern const CodecEntry codec_table[];

// Prints "CODEC '%s' for %d channels at %ld Hz with %d bits per sample.\n" on standard output: the name and the input
// format of the stream.
void codec_print_line(const CodecStream& stream);

// The codecs, one a file.
int linear_pcm_init(CodecStream& stream, int mode);
int g711_alaw_init(CodecStream& stream, int mode);
int g711_ulaw_init(CodecStream& stream, int mode);
int ima_adpcm_init(CodecStream& stream, int mode);
int gsm0610_init(CodecStream& stream, int mode);
