// SPDX-License-Identifier: MIT
// The way back from voice bits to the twelve bytes of a frame, for frames that no recording has: tones of any length,
// words with chosen wrong bits. It takes nothing from the decoder.
#pragma once

#include <cstdint>

#include "golden_table.h"

// Systematic Golay (24,12): the remainder modulo x^11+x^10+x^6+x^5+x^4+x^2+1 by long division, then the parity bit.
std::uint32_t golay_word(std::uint32_t data);
// The 24 bits that cover the second word, seeded by the data of the first.
std::uint32_t scrambling(std::uint32_t data);
// Where bit `bit` (0 most significant) of word c0, c1 or c2 (0 to 2) stands in the stream of 72 bits.
unsigned stream_bit(unsigned word, unsigned bit);

// The 48 voice bits, v0 the most significant. The slow data is that of the recordings.
AmbeFrameBytes frame_of_voice_bits(std::uint64_t voice_bits);
// `kind` is 126 or 127: both are tones.
AmbeFrameBytes tone_frame(unsigned raw_index, unsigned volume, unsigned kind = 126);
// The lines of a tone, hertz: of a dual one column and row of its keypad, of a single one its frequency and 0.
std::array<double, 2> tone_lines(unsigned raw_index);
// `frame` with the bits of `c0` and `c1` turned over in its first two words.
AmbeFrameBytes with_errors(AmbeFrameBytes frame, std::uint32_t c0, std::uint32_t c1);
