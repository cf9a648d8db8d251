// SPDX-License-Identifier: MIT
// The decoder's own noise (`noise_words`, declared in lanes/version_functions.h): a linear congruential generator,
// x := (1664525 x + 1013904223) mod 2^32 (Numerical Recipes).
//
// A word is at the same time a random phase, uniform over the turn, and as a signed number / 2^31 a noise sample,
// uniform from -1 to 1.
#pragma once

#include <cstdint>

#include "lanes/decoder_version.h"

constexpr std::uint32_t noise_start = 0x2545F491;
constexpr int most_noise_words = frame_samples;
