// SPDX-License-Identifier: MIT
// The decoder's own noise: a linear congruential generator, x := (1664525 x + 1013904223) mod 2^32 (Numerical Recipes).
//
// A word is at the same time a random phase, uniform over the turn, and as a signed number / 2^31 a noise sample,
// uniform from -1 to 1.
#pragma once

#include <cstdint>

#ifndef ARITHMETIC
#define ARITHMETIC baseline
#endif

constexpr std::uint32_t noise_start = 0x2545F491;

namespace ARITHMETIC {

// Fills `words` with the `count` states after `state`, which becomes the last of them. count: a multiple of 8.
void noise_words(std::uint32_t& state, std::uint32_t* words, int count);

// The same as noise samples.
void noise_samples(std::uint32_t& state, float* samples, int count);

}  // namespace ARITHMETIC
