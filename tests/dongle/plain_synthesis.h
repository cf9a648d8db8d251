// SPDX-License-Identifier: MIT
// A second synthesiser, for the tests: golden parameters to PCM by the plain formulas, in double precision, one cosine
// a sample and sums for transforms. It is what the audio check is tried on, with and without deliberate faults.
#pragma once

#include <span>

#include "golden_audio.h"

struct SynthesisFaults {
    double voiced_factor = 1;         // 0.5 forgets that a magnitude is half an amplitude
    double unvoiced_factor = 1;       // 2 makes noise 6 dB louder
    int window_flat_samples = 55;     // half of the flat part of the synthesis window
    int window_end_samples = 105;     // from here on it is zero
    int noise_bin_shift = 0;          // noise in the wrong bins
    bool forgets_last_frame = false;  // every frame fades in from nothing
};

// 160 samples a frame at output gain 2; mute and tone frames are synthesised with all magnitudes zero.
Pcm plain_synthesis(std::span<const GoldenFrame> frames, const SynthesisFaults& faults = {});
