// SPDX-License-Identifier: MIT
// Does decoded PCM have the energies that the golden parameters ask for?
//
// Two correct decoders never agree sample by sample, because noise and random phases differ: what has to agree is the
// power of seven bands around the centre of every frame. The figures and their limits catch a wrong window, wrong
// noise bins, a wrong alignment, lost state and a wrong balance of voiced against unvoiced speech.
#pragma once

#include <span>
#include <string>
#include <vector>

#include "golden_audio.h"

struct AudioFigures {
    double gain = 0;         // of the PCM against the powers asked for, taken out before all that follows
    double ltas_db = 0;      // largest deviation of a band's long-term power
    double median_db = 0;    // of the deviations of single bands in single frames
    double p90_db = 0;       // 90th percentile of the same
    double env = 0;          // correlation of the logarithms of the frame powers
    double voicing_db = 0;   // mostly unvoiced frames against mostly voiced ones
    std::size_t frames = 0;  // loud frames measured
};

// Powers of the 256 samples around each frame's centre, the border of its block and the next, for all frames but the
// last (periodic Hann window, power spectrum by a plain transform in double precision).
std::vector<BandPowers> measured_bands(std::span<const std::int16_t> pcm);

// `expected` and `share` (unvoiced share of the power) have a row for every frame of the PCM.
AudioFigures audio_figures(std::span<const std::int16_t> pcm, std::span<const BandPowers> expected,
                           std::span<const double> share);

// The names of the figures beyond their limits, separated by blanks; empty when the PCM passes.
std::string beyond_limits(const AudioFigures& figures);
std::string to_text(const AudioFigures& figures);
