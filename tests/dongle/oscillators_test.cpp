// SPDX-License-Identifier: MIT
#include "synthesis/oscillators.h"

#include <gtest/gtest.h>

#include <cmath>
#include <random>

#include "dongle/decoder_versions.h"

namespace {

constexpr int block_count = 20;

Oscillators none() {
    Oscillators oscillators;
    oscillators.count = 0;
    return oscillators;
}

void add(Oscillators& oscillators, std::uint32_t phase, std::uint32_t step, float amplitude, float growth) {
    const int i = oscillators.count++;
    oscillators.phase[i] = phase;
    oscillators.step[i] = step;
    oscillators.amplitude[i] = amplitude;
    oscillators.growth[i] = growth;
}

// The sum as it is defined, in double precision.
double sample_of(const Oscillators& oscillators, int n) {
    double sum = 0;
    for (int i = 0; i < oscillators.count; i++) {
        const double turns = (oscillators.phase[i] + static_cast<double>(oscillators.step[i]) * n) * 0x1p-32;
        sum += oscillators.amplitude[i] * std::pow(static_cast<double>(oscillators.growth[i]), n) *
               std::cos(2 * M_PI * turns);
    }
    return sum;
}

}  // namespace

class OscillatorsTest : public DecoderVersions {
  protected:
    void expect_near(Oscillators& oscillators, double tolerance) {
        SpeechBlock samples{};
        version().add_oscillators(oscillators, block_count, samples);
        for (int n = 0; n < frame_samples; n++) ASSERT_NEAR(samples[n], sample_of(oscillators, n), tolerance) << n;
    }
};
INSTANTIATE_TEST_SUITE_P(Versions, OscillatorsTest, every_version, version_name);

TEST_P(OscillatorsTest, EveryNumberOfThemIsTheirSum) {
    std::mt19937 random(3);
    for (int count = 0; count <= 56; count++) {
        Oscillators oscillators = none();
        while (oscillators.count < count)
            add(oscillators, static_cast<std::uint32_t>(random()), static_cast<std::uint32_t>(random() / 2), 1, 1);
        expect_near(oscillators, 1e-5 * (1 + count));
    }
}

TEST_P(OscillatorsTest, AmplitudesGrowAndFade) {
    std::mt19937 random(4);
    for (const float whole : {1e-6F, 1e-3F, 0.5F, 1.0F, 2.0F, 1e3F, 1e6F}) {
        Oscillators oscillators = none();
        add(oscillators, static_cast<std::uint32_t>(random()), 0x07654321, 1,
            static_cast<float>(std::pow(static_cast<double>(whole), 1.0 / frame_samples)));
        expect_near(oscillators, 4e-5 * std::max(1.0F, whole));
    }
}

// Near multiples of 1000 Hz eight samples are whole turns, and a recurrence over them loses the most.
TEST_P(OscillatorsTest, NearMultiplesOfAThousandHertzTheyAreExactToo) {
    std::mt19937 random(5);
    for (std::uint32_t thousands = 0; thousands <= 4; thousands++)
        for (const std::uint32_t offset : {0U, 1U, 1000U, 30000U, 1000000U}) {
            Oscillators oscillators = none();
            add(oscillators, static_cast<std::uint32_t>(random()), thousands * 0x20000000U + offset, 1, 1);
            expect_near(oscillators, 5e-5);
        }
}

TEST_P(OscillatorsTest, AddToWhatIsThere) {
    Oscillators oscillators = none();
    add(oscillators, 0, 0, 3, 1);
    SpeechBlock samples;
    for (int n = 0; n < frame_samples; n++) samples[n] = static_cast<float>(n);
    version().add_oscillators(oscillators, 14, samples);
    for (int n = 0; n < frame_samples; n++) EXPECT_NEAR(samples[n], n < 112 ? n + 3 : n, 1e-4) << n;
}
