// SPDX-License-Identifier: MIT
#include "synthesis/unvoiced.h"

#include <gtest/gtest.h>

#include "dongle/synthesis_versions.h"

namespace {

// At this fundamental harmonic 29 has bin 32 and no other: a quarter of the sampling rate, four samples a period.
constexpr double one_bin_fundamental = 1.1 / 128;
constexpr int one_bin_harmonic = 29;

Harmonics one_bin(float magnitude) {
    Harmonics harmonics = harmonics_of(one_bin_fundamental, 53, false);
    harmonics.magnitude[one_bin_harmonic - 1] = magnitude;
    return harmonics;
}

Harmonics flat_noise() {
    return harmonics_of(1.0 / 32, 14, false, 3);  // bands of exactly four bins, from bin 2 to 57
}

// Amplitude of what is a sinusoid of four samples a period.
double amplitude_between(const Samples& samples, std::size_t from, std::size_t to) {
    return std::sqrt(2 * mean_square(Samples(samples.begin() + static_cast<std::ptrdiff_t>(from),
                                             samples.begin() + static_cast<std::ptrdiff_t>(to)),
                                     0));
}

}  // namespace

class UnvoicedSynthesis : public SynthesisVersions {
  protected:
    // Both blocks of the frame behind one with magnitude `before`: between 64 and 96 the first one sounds alone, from
    // 144 on the second.
    void expect_blocks(float before, float now, double first, double second) {
        version().synthesis_start(synthesis);
        Samples samples;
        synthesize(one_bin(before), 1, samples);
        samples.clear();
        synthesize(one_bin(now), 1, samples);
        // A bin and its mirror image, over 128: 2 gh A / 128.
        EXPECT_NEAR(amplitude_between(samples, 64, 96), 2 * 103.53 / 128 * first, 1e-4 * first) << before << " " << now;
        EXPECT_NEAR(amplitude_between(samples, 144, 160), 2 * 103.53 / 128 * second, 1e-4 * second)
            << before << " " << now;
    }
};
INSTANTIATE_TEST_SUITE_P(Versions, UnvoicedSynthesis, every_version, version_name);

TEST_P(UnvoicedSynthesis, SecondBlockHasExactlyTheMagnitudesOfTheFrame) {
    expect_blocks(50, 50, 50, 50);
}

TEST_P(UnvoicedSynthesis, FirstBlockHasTheGeometricMeanOfTwoFrames) {
    expect_blocks(10, 1000, 100, 1000);
    expect_blocks(4000, 40, 400, 40);
}

TEST_P(UnvoicedSynthesis, FirstBlockHasHalfOfWhatOnlyOneFrameHas) {
    expect_blocks(0, 70, 35, 70);
    expect_blocks(70, 0, 35, 0);
}

TEST_P(UnvoicedSynthesis, BlocksOverlapByTheirWindows) {
    // The second block alone, its frame alone: silent before sample 80 + 20, falling to sample 60 of the next frame.
    Samples samples;
    synthesize(one_bin(0), 1, samples);
    samples.clear();
    synthesize(one_bin(100), 1, samples);
    synthesize(one_bin(0), 2, samples);
    for (std::size_t n = 0; n <= 20; n++) EXPECT_EQ(samples[n], 0.0F) << n;
    for (std::size_t n = 160 + 140; n < samples.size(); n++) EXPECT_EQ(samples[n], 0.0F) << n;

    // Alone to 20 samples behind its middle, then w / (w^2 + (1 - w)^2) with w = (60 - k) / 40 beside its neighbour's
    // share, which has a phase of its own: the bound of both.
    const double amplitude = 2 * 103.53 / 128 * 100;
    for (int k = 0; k < 80; k++) {
        const double w = std::clamp((60 - k) / 40.0, 0.0, 1.0);
        const double squares = w * w + (1 - w) * (1 - w);
        const auto n = static_cast<std::size_t>(160 + k);
        EXPECT_LE(std::abs(samples[n]), 1.001 * amplitude * (w + (1 - w) / 2) / squares) << k;
    }
}

TEST_P(UnvoicedSynthesis, BinsBelongToTheNearestHarmonic) {
    for (int step = 0; step <= 124; step++) {
        const double fundamental = step < 124 ? 0.4627 / std::exp2(4.1261 + 0.02179 * (step - 45)) : 1.0 / 32;
        const int count = step < 124 ? std::clamp(static_cast<int>(0.4627 / fundamental), 9, 56) : 14;
        Harmonics harmonics = harmonics_of(fundamental, count, false);
        for (int i = 0; i < count; i++) harmonics.magnitude[i] = static_cast<float>(i + 1);
        Samples samples;
        synthesize(harmonics, 1, samples);
        EXPECT_EQ(synthesis.blocks.magnitude[0], 0.0F);
        EXPECT_EQ(synthesis.blocks.magnitude[64], 0.0F);
        for (int m = 1; m < 64; m++) {
            const int harmonic = static_cast<int>(std::floor(m / (128 * fundamental) + 0.5));
            const double expected = harmonic >= 1 && harmonic <= count ? harmonic : 0;
            ASSERT_NEAR(synthesis.blocks.magnitude[m] * 128 / 103.53, expected, 1e-4) << fundamental << " " << m;
        }
    }
}

TEST_P(UnvoicedSynthesis, UnvoicedHarmonicsAreAsStrongAsVoicedOnesOfTheSameLogMagnitude) {
    // M as a density is 0.2046 / sqrt(omega 0) of M as half an amplitude, whose power is 2 M^2.
    Samples samples;
    synthesize(flat_noise(), 2000, samples);
    const double magnitude = 3 / (0.2046 / std::sqrt(2 * M_PI / 32));
    EXPECT_NEAR(mean_square(samples, 320) / (14 * 2 * magnitude * magnitude), 1, 0.03);
}

TEST_P(UnvoicedSynthesis, FlatUnvoicedHarmonicsAreWhiteNoise) {
    Samples samples;
    synthesize(flat_noise(), 300, samples);

    double band[16] = {};  // of 250 Hz, 8 bins each, the first from bin -4 + 8 on
    for (std::size_t at = 320; at + 256 <= samples.size(); at += 256)
        for (int m = 0; m < 128; m++) band[(m + 4) / 8 % 16] += std::norm(line_at(samples, at, at + 256, m / 256.0));
    double mean = 0;
    for (int i = 2; i < 14; i++) mean += band[i] / 12;
    for (int i = 2; i < 14; i++) EXPECT_NEAR(band[i] / mean, 1, 0.1) << i;
    EXPECT_LT(band[15] / mean, 0.15);  // above the last harmonic: what the window leaks
}

TEST_P(UnvoicedSynthesis, UnvoicedHarmonicsDoNotRepeatThemselves) {
    Samples samples;
    synthesize(flat_noise(), 200, samples);
    const double power = mean_square(samples, 320);
    for (std::size_t lag = 130; lag <= 640; lag += 4) {
        double product = 0;
        for (std::size_t n = 320; n + lag < samples.size(); n++)
            product += static_cast<double>(samples[n]) * samples[n + lag];
        product /= static_cast<double>(samples.size() - 320 - lag);
        ASSERT_LT(std::fabs(product / power), 0.05) << lag;
    }
}
