// SPDX-License-Identifier: MIT
// A second synthesiser, for the tests: golden parameters to PCM by the plain formulas, in double precision, one cosine
// a sample and sums for transforms. It is what the decoder's own synthesis is compared with, and what the audio check
// is tried on, with and without deliberate faults.
#pragma once

#include <span>
#include <vector>

#include "golden_audio.h"

struct SynthesisFaults {
    double voiced_factor = 1;         // 0.5 forgets that a magnitude is half an amplitude
    double noise_factor = 1;          // 2 makes noise 6 dB louder
    int noise_bin_shift = 0;          // noise in the wrong bins
    bool forgets_last_frame = false;  // every frame fades in from nothing
    int curved_harmonics = 7;         // of smooth harmonics these follow the pitch along a parabola, the others a line
};

// The speech of the frames, 160 samples each, before the limiter. Frames without magnitudes (mute and tone) are
// synthesised with all magnitudes zero.
std::vector<double> plain_speech(std::span<const GoldenFrame> frames, const SynthesisFaults& faults = {});

// The same through the limiter, as 16-bit samples.
Pcm plain_synthesis(std::span<const GoldenFrame> frames, const SynthesisFaults& faults = {});

// The limiter alone, on whole blocks of 160 samples.
Pcm plain_limiter(std::span<const double> samples);
