// SPDX-License-Identifier: MIT
#include "synthesis/unvoiced.h"

#include <gtest/gtest.h>

#include "dongle/synthesis_versions.h"

namespace {

constexpr double window_squares = 143.34;

}  // namespace

class UnvoicedSynthesis : public SynthesisVersions {};
INSTANTIATE_TEST_SUITE_P(Versions, UnvoicedSynthesis, every_version, version_name);

TEST_P(UnvoicedSynthesis, UnvoicedHarmonicsAreNoiseOfTheStatedPower) {
    Harmonics harmonics = harmonics_of(1.0 / 32, 14, false);  // bands of exactly eight bins, from bin 4 to 115
    for (int i = 0; i < 14; i++) harmonics.magnitude[i] = 3;
    Samples samples;
    synthesize(harmonics, 600, samples);
    const double expected = 14 * 2 * 8 * std::pow(noise_gain * 3, 2) / (256 * window_squares);
    EXPECT_NEAR(mean_square(samples, 320) / expected, 1, 0.02);
}

TEST_P(UnvoicedSynthesis, FlatUnvoicedHarmonicsAreWhiteNoise) {
    Harmonics harmonics = harmonics_of(1.0 / 32, 14, false);
    for (int i = 0; i < 14; i++) harmonics.magnitude[i] = 3;
    Samples samples;
    synthesize(harmonics, 300, samples);

    double band[16] = {};  // of 250 Hz, 8 bins each, the first from bin -4 + 8 on
    for (std::size_t at = 320; at + 256 <= samples.size(); at += 256)
        for (int m = 0; m < 128; m++) band[(m + 4) / 8 % 16] += std::norm(line_at(samples, at, at + 256, m / 256.0));
    double mean = 0;
    for (int i = 2; i < 14; i++) mean += band[i] / 12;
    for (int i = 2; i < 14; i++) EXPECT_NEAR(band[i] / mean, 1, 0.1) << i;
    EXPECT_LT(band[15] / mean, 0.15);  // above the last harmonic: what the window leaks
}

TEST_P(UnvoicedSynthesis, UnvoicedHarmonicsDoNotRepeatThemselves) {
    Harmonics harmonics = harmonics_of(1.0 / 32, 14, false);
    for (int i = 0; i < 14; i++) harmonics.magnitude[i] = 3;
    Samples samples;
    synthesize(harmonics, 200, samples);
    const double power = mean_square(samples, 320);
    for (std::size_t lag = 100; lag <= 640; lag += 4) {
        double product = 0;
        for (std::size_t n = 320; n + lag < samples.size(); n++)
            product += static_cast<double>(samples[n]) * samples[n + lag];
        product /= static_cast<double>(samples.size() - 320 - lag);
        ASSERT_LT(std::fabs(product / power), 0.05) << lag;
    }
}
