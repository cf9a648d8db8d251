// SPDX-License-Identifier: MIT
// From the synthesis to 16-bit samples.
#pragma once

#include <cstdint>

#ifndef ARITHMETIC
#define ARITHMETIC baseline
#endif

// Speech comes out twice as loud as the model says: active speech then lies 14 to 25 dB below full scale. Tones have
// their level already.
constexpr float output_gain = 2.0F;
constexpr float output_limit = 32767.0F;

namespace ARITHMETIC {

// 160 samples, rounded to the nearest, cut off at -32767 and 32767.
void pcm_output(const float* speech, const float* tone, std::int16_t* samples);

}  // namespace ARITHMETIC
