// SPDX-License-Identifier: MIT
// Tone frames: one or two sinusoids instead of speech.
#pragma once

#include <cstdint>

#include "ambe_frame.h"

#ifndef ARITHMETIC
#define ARITHMETIC baseline
#endif

constexpr int dtmf_tones = 16;  // raw index 0..15, in the order of the keys 1 4 7 * 2 5 8 0 3 6 9 # A B C D
constexpr int dual_tones = 32;  // 16..31: KNOX
constexpr int first_single_tone = 37;
constexpr int last_single_tone = 154;
constexpr int single_tone_offset = 32;  // raw index - 32 counts steps of 31.25 Hz

// Which of the 256 raw indices sound; the others make a frame a bad one.
constexpr bool tone_is_known(int raw_index) {
    return raw_index < dual_tones || (raw_index >= first_single_tone && raw_index <= last_single_tone);
}

// The tone that sounds; all zero: none.
struct AmbeTone {
    bool sounds;
    int raw_index;
    float amplitude;         // of each line
    std::uint32_t phase[2];  // turns times 2^32
    std::uint32_t step[2];   // from sample to sample; 0: there is one line only
};

namespace ARITHMETIC {

// Writes the next 160 samples of `tone` as `frame` has it, null when the frame is none of a tone. A tone of another
// index begins with phase 0; beginnings, ends and changes of volume take 2 ms.
void ambe_tone_samples(AmbeTone& tone, const AmbeFrame* frame, float* samples);

}  // namespace ARITHMETIC
