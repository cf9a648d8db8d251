// SPDX-License-Identifier: MIT
// IMA ADPCM, four bits a sample (IMA, "Recommended Practices for Enhancing Digital Audio Compatibility in Multimedia
// Systems", revision 3.00, 1992).
//
// Kept: encoder and decoder are no mirror images. The encoder writes bare codes, the first of a pair in the high
// nibble; the decoder takes the low nibble first, and a block header when the stream's flag says so. The encoder adds
// up fractions of the step, the decoder multiplies, and they round differently. The encoder hands on twice the bytes
// that it coded; the second half is zero.
#pragma once

#include "codec/codec_stream.h"

// A row of the codec table (CodecInit). The stream's block_bytes is the size of a coded block; 0 or less is 1024.
// Returns 0; -1 without a word when the PCM of a block would not fit a 16-bit count (8192 code bytes and more), before
// anything is printed or taken; -1 after "Out of memory for ADPCM CB !\n" on standard error.
int ima_adpcm_init(CodecStream& stream, int mode);
