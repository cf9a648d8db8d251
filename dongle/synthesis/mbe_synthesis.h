// SPDX-License-Identifier: MIT
// Multi-band excitation synthesis (mbe_synthesis_start, mbe_synthesize): the harmonics of two frames in a row become the 160 samples between their middles,
// voiced harmonics as sinusoids, unvoiced ones as bands of noise.
//
// D. W. Griffin and J. S. Lim, "Multiband excitation vocoder", IEEE Trans. ASSP 36, 1988.
//
// The state is a record that the caller owns: what is known of the frame before, phases, noise.
#pragma once

#include "lanes/decoder_version.h"
#include "speech_model.h"

struct alignas(32) MbeSynthesis {
    Harmonics before;                          // of the frame before, as it was synthesised
    std::uint32_t track[harmonic_slots];       // psi: phase of each harmonic as the fundamental alone makes it
    std::uint32_t phase[harmonic_slots];       // phi: the same, scattered by noise in unvoiced company
    std::uint32_t noise;                       // state of the generator
    float noise_block[transform_samples];      // 256 samples of white noise around the frame's middle
    float unvoiced_before[transform_samples];  // unvoiced part of the frame before, around its middle
};
