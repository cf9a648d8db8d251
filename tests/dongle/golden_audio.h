// SPDX-License-Identifier: MIT
// The golden recordings as the audio tests need them: for each frame the parameters that are to be heard.
#pragma once

#include "golden_table.h"

constexpr std::size_t block_samples = 160;
using Pcm = std::vector<std::int16_t>;

// Powers of the seven bands 0-500, 500-1000, 1000-1500, 1500-2000, 2000-2500, 2500-3000, 3000-3800 Hz.
constexpr std::size_t band_count = 7;
using BandPowers = std::array<double, band_count>;

// One frame as it goes into synthesis. Mute and tone frames have no harmonics.
struct GoldenFrame {
    std::string action;             // voice, silence, tone, repeat or mute
    double fundamental = 0;         // f0, cycles per sample
    std::vector<bool> voiced;       // harmonic 1 first
    std::vector<double> magnitude;  // enhanced and smoothed, harmonic 1 first
    double rms = 0;                 // of 160 samples of the reference's output, output gain included
};

// `name` is a file of tests/data; the test fails when it cannot be read.
std::vector<GoldenFrame> golden_frames(const std::string& name);
std::vector<BandPowers> golden_bands(const std::string& name);
Pcm source_samples(const std::string& name);

// The noise bins of harmonic l: first_bin .. end_bin - 1 of a transform of 256.
int first_bin(double fundamental, int harmonic);
int end_bin(double fundamental, int harmonic);
// What harmonic l adds to the mean square of the speech before output gain.
double harmonic_power(const GoldenFrame& frame, std::size_t harmonic);
double unvoiced_share(const GoldenFrame& frame);
