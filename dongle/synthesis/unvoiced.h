// SPDX-License-Identifier: MIT
// The noise of a frame (`unvoiced_start`, `unvoiced_synthesis`, declared in lanes/version_functions.h): white noise
// whose spectrum is given the magnitudes of the unvoiced harmonics, and of the share of noise in the voiced ones.
#pragma once

#include <algorithm>

#include "speech_model.h"

// Makes voiced and unvoiced harmonics of equal log magnitude equally strong.
constexpr float noise_gain = 103.53F;

constexpr int noise_bins = 64;       // of a block's 128: bin m lies at m / 128 cycles per sample
constexpr int noise_block_hop = 80;  // samples from the middle of one block to the middle of the next
constexpr int noise_block_samples = 128;
constexpr int shared_noise = noise_block_samples - noise_block_hop;

// The density of noise in the band of each harmonic.
struct alignas(32) UnvoicedHarmonics {
    float magnitude[harmonic_slots];
    std::uint32_t fundamental;  // omega 0 / 2 pi, turns per sample times 2^32
    int count;                  // L
};

// Magnitudes of bins 0 to 64, in whole groups of eight. Bins 0 and 64 have none.
using BinMagnitudes = float[noise_bins + 8];

// What the next frame needs of this one.
struct alignas(32) NoiseBlocks {
    std::uint32_t white[shared_noise];    // the last white noise, words of the generator: the next block begins with it
    BinMagnitudes magnitude;              // as this frame has them
    float tail[noise_block_samples / 2];  // the last block from its middle on
};

// wh(n), the window of a block: 1 up to |n| = 20, falling in a straight line, 0 from |n| = 60 on;
// wh(n) + wh(n - 80) = 1 between. Always inlined, as synthesis_window is.
[[gnu::always_inline]] constexpr float noise_window(int n) {
    return static_cast<float>(std::clamp((60 - std::max(n, -n)) / 40.0, 0.0, 1.0));
}
