// SPDX-License-Identifier: MIT
#include "ambe/harmonics_enhance.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <tuple>

#include "dongle/decoder_versions.h"

class HarmonicsEnhance : public DecoderVersions {};
INSTANTIATE_TEST_SUITE_P(Versions, HarmonicsEnhance, every_version, version_name);

TEST_P(HarmonicsEnhance, EnhancementKeepsTheEnergy) {
    Harmonics harmonics{};
    harmonics.count = 40;
    harmonics.fundamental = 0x03000000;
    double energy = 0;
    for (int i = 0; i < 40; i++) {
        harmonics.magnitude[i] = 10.0F + static_cast<float>(i * 37 % 11);
        energy += static_cast<double>(harmonics.magnitude[i]) * harmonics.magnitude[i];
    }
    float smoothing = smoothing_energy_start;
    version().harmonics_enhance(harmonics, smoothing, {0, 0});
    double after = 0;
    for (int i = 0; i < 40; i++) after += static_cast<double>(harmonics.magnitude[i]) * harmonics.magnitude[i];
    EXPECT_NEAR(after / energy, 1, 1e-5);
    EXPECT_NEAR(smoothing, 0.95 * 75000 + 0.05 * energy, 0.1);
}

TEST_P(HarmonicsEnhance, SumOfMagnitudesIsLimited) {
    Harmonics harmonics{};
    harmonics.count = 10;
    harmonics.fundamental = 0x0A000000;
    for (int i = 0; i < 10; i++) harmonics.magnitude[i] = 5000;
    float smoothing = smoothing_energy_start;
    version().harmonics_enhance(harmonics, smoothing, {0, 0});
    double sum = 0;
    for (const float magnitude : harmonics.magnitude) sum += static_cast<double>(magnitude);
    EXPECT_NEAR(sum, 20480, 0.1);
}

TEST_P(HarmonicsEnhance, SilentHarmonicsStaySilent) {
    Harmonics harmonics{};
    harmonics.count = 30;
    harmonics.fundamental = 0x03000000;
    float smoothing = 0;
    version().harmonics_enhance(harmonics, smoothing, {0.09F, 6});
    for (const float magnitude : harmonics.magnitude) EXPECT_EQ(magnitude, 0.0F);
    for (const std::uint32_t voiced : harmonics.voiced) EXPECT_EQ(voiced, 0U);
    EXPECT_EQ(smoothing, 10000.0F);
}

TEST_P(HarmonicsEnhance, OnlyMagnitudesAboveTheThresholdOfTheErrorRateBecomeVoiced) {
    // 45.255 S^0.375 exp(-277.26 rate) up to a rate of 0.0125, 1.414 S^0.375 above it. S moves by the frame itself, to
    // 0.95 S + 0.05 M^2, at least 10000: the M that is its own threshold is found by repeated insertion.
    const auto threshold_at = [](double rate, double energy_before) {
        double threshold = 100;
        for (int i = 0; i < 100; i++) {
            const double energy = std::max(10000.0, 0.95 * energy_before + 0.05 * threshold * threshold);
            const double factor = rate <= 0.0125 ? 45.255 * std::exp(-277.26 * rate) : 1.414;
            threshold = factor * std::pow(energy, 0.375);
        }
        return threshold;
    };
    for (const float rate : {0.008F, 0.0124F, 0.0126F, 0.05F})
        for (const float energy_before : {75000.0F, 500000.0F, 0.0F})
            for (const double share : {0.9995, 1.0005}) {
                const auto magnitude =
                    static_cast<float>(share * threshold_at(static_cast<double>(rate), energy_before));
                Harmonics harmonics{};
                harmonics.count = 9;
                harmonics.fundamental = 0x0C000000;
                harmonics.magnitude[0] = magnitude;  // the only one, and below L / 8: enhancement leaves it alone
                float energy = energy_before;
                version().harmonics_enhance(harmonics, energy, {rate, 0});
                EXPECT_EQ(harmonics.voiced[0] != 0, share > 1) << rate << " " << energy_before;
                EXPECT_FLOAT_EQ(harmonics.magnitude[0], magnitude) << "forced to voiced, it keeps its magnitude";
            }
}

TEST_P(HarmonicsEnhance, LoudestHarmonicOfADamagedFrameBecomesVoiced) {
    // S = 0.95 * 75000 + 0.05 * 1000^2 = 121250, S^0.375 = 80.6. Above a rate of 0.0125 the threshold is 1.414 * 80.6
    // = 114; below, 45.255 * 80.6 * exp(-277.26 * rate): 3647 at 0, 912 at 0.005, 887 at 0.0051.
    for (const auto& [rate, errors, becomes_voiced] : {
             std::tuple{0.013F,  0, true },
             std::tuple{0.0051F, 0, true },
             std::tuple{0.005F,  5, true },
             std::tuple{0.005F,  4, false},
             std::tuple{0.0F,    5, false}
    }) {
        Harmonics harmonics{};
        harmonics.count = 9;
        harmonics.fundamental = 0x0C000000;
        for (int i = 0; i < 9; i++) harmonics.magnitude[i] = 1;
        harmonics.magnitude[0] = 1000;
        float smoothing = smoothing_energy_start;
        version().harmonics_enhance(harmonics, smoothing, {rate, errors});
        EXPECT_EQ(harmonics.voiced[0] != 0, becomes_voiced) << rate << " " << errors;
        EXPECT_EQ(harmonics.voiced[1], 0U);
        EXPECT_EQ(harmonics.voiced[9], 0U);
    }
}
