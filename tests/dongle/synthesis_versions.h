// SPDX-License-Identifier: MIT
// A test of the synthesis, once with each version of the decoder, and what measures its samples.
#pragma once

#include <algorithm>
#include <cmath>
#include <complex>
#include <vector>

#include "dongle/decoder_versions.h"
#include "synthesis/mbe_synthesis.h"

using Samples = std::vector<float>;

inline Harmonics harmonics_of(double fundamental, int count, bool voiced, float magnitude = 0) {
    Harmonics harmonics{};
    harmonics.fundamental = phase_of_turns(fundamental);
    harmonics.count = count;
    std::fill_n(harmonics.voiced, count, voiced ? ~0U : 0U);
    std::fill_n(harmonics.magnitude, count, magnitude);
    return harmonics;
}

// Amplitude and phase of the line at `frequency` (cycles per sample) over whole frames, by projection.
inline std::complex<double> line_at(const Samples& samples, std::size_t from, std::size_t to, double frequency) {
    std::complex<double> sum = 0;
    double weight = 0;
    for (std::size_t n = from; n < to; n++) {
        // A Hann window keeps neighbouring lines out.
        const double w = 1 - std::cos(2 * M_PI * static_cast<double>(n - from) / static_cast<double>(to - from));
        sum += w * static_cast<double>(samples[n]) * std::polar(1.0, -2 * M_PI * frequency * static_cast<double>(n));
        weight += w;
    }
    return 2.0 * sum / weight;
}

inline double mean_square(const Samples& samples, std::size_t from) {
    double sum = 0;
    for (std::size_t n = from; n < samples.size(); n++) sum += static_cast<double>(samples[n]) * samples[n];
    return sum / static_cast<double>(samples.size() - from);
}

class SynthesisVersions : public DecoderVersions {
  protected:
    void SetUp() override {
        DecoderVersions::SetUp();
        if (!IsSkipped()) version().synthesis_start(synthesis);
    }

    // Adds the samples of `frames` frames of the same harmonics to `samples`.
    void synthesize(const Harmonics& harmonics, int frames, Samples& samples) {
        for (int frame = 0; frame < frames; frame++) {
            samples.resize(samples.size() + frame_samples);
            version().synthesize(synthesis, harmonics, block_at(samples, samples.size() - frame_samples));
        }
    }

    MbeSynthesis synthesis;
};
