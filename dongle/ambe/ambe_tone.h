// SPDX-License-Identifier: MIT
// Tone frames: which sinusoids they ask for.
#pragma once

#include "ambe/ambe_frame.h"
#include "speech_model.h"

constexpr int dtmf_tones = 16;  // raw index 0..15, in the order of the keys 1 4 7 * 2 5 8 0 3 6 9 # A B C D
constexpr int dual_tones = 32;  // 16..31: KNOX
constexpr int first_single_tone = 37;
constexpr int last_single_tone = 154;
constexpr int single_tone_offset = 32;  // raw index - 32 counts steps of 31.25 Hz

// Which of the 256 raw indices sound; the others make a frame a bad one.
constexpr bool tone_is_known(int raw_index) {
    return raw_index < dual_tones || (raw_index >= first_single_tone && raw_index <= last_single_tone);
}

// The sinusoids of `frame`, a tone frame with a known index.
ToneModel ambe_tone_decode(const AmbeFrame& frame);
