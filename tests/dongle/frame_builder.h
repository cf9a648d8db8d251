// SPDX-License-Identifier: MIT
// The way back from voice bits to the twelve bytes of a frame, for frames that no recording has: tones of any length,
// words with a chosen number of wrong bits.
#pragma once

#include <cstdint>

#include "golden_audio.h"

// The 48 voice bits, v0 the most significant. The slow data is that of the recordings.
AmbeFrameBytes frame_of_voice_bits(std::uint64_t voice_bits);
// `kind` is 126 or 127: both are tones.
AmbeFrameBytes tone_frame(unsigned raw_index, unsigned volume, unsigned kind = 126);
// `frame` with `count` bits of word c0 or c1 (0 or 1) turned over from word bit `first` on (0 most significant).
AmbeFrameBytes with_wrong_bits(AmbeFrameBytes frame, unsigned word, unsigned first, unsigned count);
