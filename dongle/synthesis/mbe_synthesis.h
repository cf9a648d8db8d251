// SPDX-License-Identifier: MIT
// Multi-band excitation synthesis (`mbe_synthesis_start`, `mbe_synthesize`, declared in lanes/version_functions.h): the
// harmonics of two frames in a row become the 160 samples between their middles, voiced harmonics as sinusoids,
// unvoiced ones as bands of noise.
//
// D. W. Griffin and J. S. Lim, "Multiband excitation vocoder", IEEE Trans. ASSP 36, 1988.
//
// The state is a record that the caller owns: what is known of the frame before, phases, noise.
#pragma once

#include "synthesis/unvoiced.h"
#include "synthesis/voiced.h"

struct alignas(32) MbeSynthesis {
    VoicedHarmonics before;               // where the sinusoids of the next frame go on
    std::uint32_t track[harmonic_slots];  // psi: phase of each harmonic as the fundamental alone makes it
    NoiseBlocks blocks;
    std::uint32_t noise;  // state of the generator
};
