// SPDX-License-Identifier: MIT
#include "synthesis/transform.h"

#include <gtest/gtest.h>

#include <cmath>
#include <complex>
#include <random>
#include <vector>

#include "dongle/decoder_versions.h"

namespace {

using Samples = std::vector<float>;

Samples noise(unsigned seed) {
    std::mt19937 random(seed);
    std::uniform_real_distribution<float> value(-1, 1);
    Samples samples(transform_samples);
    for (float& sample : samples) sample = value(random);
    return samples;
}

// The sum as it is defined, in double precision.
std::complex<double> bin_of(const Samples& samples, int m) {
    std::complex<double> sum = 0;
    for (int n = 0; n < transform_samples; n++)
        sum += static_cast<double>(samples[static_cast<std::size_t>(n)]) *
               std::polar(1.0, -2 * M_PI * (m * n % 256) / 256);
    return sum;
}

TransformBlock& transform_block(Samples& samples) {
    return *reinterpret_cast<TransformBlock*>(samples.data());
}

}  // namespace

class Transform : public DecoderVersions {};
INSTANTIATE_TEST_SUITE_P(Versions, Transform, every_version, version_name);

TEST_P(Transform, IsTheSumOfItsDefinition) {
    for (unsigned seed = 0; seed < 20; seed++) {
        Samples samples = noise(seed);
        Spectrum spectrum;
        version().transform_forward(transform_block(samples), spectrum);
        for (int m = 0; m < transform_bins; m++) {
            const std::complex<double> expected = bin_of(samples, m);
            ASSERT_NEAR(spectrum.real[m], expected.real(), 1e-5) << m;
            ASSERT_NEAR(spectrum.imaginary[m], expected.imag(), 1e-5) << m;
        }
    }
}

TEST_P(Transform, EveryUnitImpulseTurnsAtItsOwnRate) {
    for (int n = 0; n < transform_samples; n++) {
        Samples samples(transform_samples);
        samples[static_cast<std::size_t>(n)] = 1;
        Spectrum spectrum;
        version().transform_forward(transform_block(samples), spectrum);
        for (int m = 0; m < transform_bins; m++) {
            ASSERT_NEAR(spectrum.real[m], std::cos(2 * M_PI * m * n / 256), 1e-6) << n << " " << m;
            ASSERT_NEAR(spectrum.imaginary[m], -std::sin(2 * M_PI * m * n / 256), 1e-6) << n << " " << m;
        }
    }
}

TEST_P(Transform, ForthAndBackMultipliesBy256) {
    Samples samples = noise(1);
    // What the bins cannot hold: the highest frequency, bin 128.
    float highest = 0;
    for (std::size_t n = 0; n < samples.size(); n++) highest += n % 2 == 0 ? samples[n] : -samples[n];
    for (std::size_t n = 0; n < samples.size(); n++) samples[n] -= (n % 2 == 0 ? highest : -highest) / 256;

    Spectrum spectrum;
    Samples back(transform_samples);
    version().transform_forward(transform_block(samples), spectrum);
    version().transform_back(spectrum, transform_block(back));
    for (std::size_t n = 0; n < samples.size(); n++) ASSERT_NEAR(back[n], 256 * samples[n], 2e-4) << n;
}

TEST_P(Transform, OneBinBecomesOneCosineAndOneSine) {
    for (int m = 1; m < transform_bins; m++) {
        Spectrum spectrum{};
        spectrum.real[m] = 3;
        spectrum.imaginary[m] = -4;
        Samples samples(transform_samples);
        version().transform_back(spectrum, transform_block(samples));
        for (int n = 0; n < transform_samples; n++) {
            const double angle = 2 * M_PI * m * n / 256;
            ASSERT_NEAR(samples[static_cast<std::size_t>(n)], 6 * std::cos(angle) + 8 * std::sin(angle), 1e-5) << m;
        }
    }
}
