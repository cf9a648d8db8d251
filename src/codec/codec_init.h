// SPDX-License-Identifier: MIT
// What the inits of all codecs do alike: their first step and their last.
#pragma once

#include <cstdint>

#include "codec/codec_stream.h"

// Both directions of a codec.
struct CodecShape {
    CodecOperation encode;
    CodecOperation decode;
    std::int16_t pcm_bytes;    // a block of samples: IBUFF in encoding, OBUFF in decoding
    std::int16_t coded_bytes;  // a block of codes: OBUFF in encoding, IBUFF in decoding
    std::int16_t coded_bits;   // of a sample that is coded
};

// Prints "CODEC '%s' for %d channels at %ld Hz with %d bits per sample.\n" on standard output: the name and the input
// format of the stream.
void codec_print_line(const CodecStream& stream);

// Sets the stream's operations (both, whatever the mode), its buffers' sizes and the output's bits per sample, which
// are 16 in decoding. Returns 0, what an init that succeeds returns.
int codec_finish_init(CodecStream& stream, int mode, const CodecShape& shape);
