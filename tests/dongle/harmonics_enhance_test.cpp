// SPDX-License-Identifier: MIT
#include "ambe/harmonics_enhance.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <tuple>
#include <vector>

#include "dongle/decoder_versions.h"

namespace {

constexpr ChannelQuality clean = {0, 0};
constexpr ChannelQuality damaged = {0.006F, 0};

Harmonics harmonics_with(std::uint32_t fundamental, const std::vector<float>& magnitudes) {
    Harmonics harmonics{};
    harmonics.fundamental = fundamental;
    harmonics.count = static_cast<int>(magnitudes.size());
    std::copy(magnitudes.begin(), magnitudes.end(), harmonics.magnitude);
    return harmonics;
}

// One loud voiced harmonic below L / 8, which enhancement leaves alone but for the tilt of 2^(0.4 f0).
Harmonics one_harmonic(float magnitude) {
    Harmonics harmonics = harmonics_with(0x0C000000, std::vector<float>(9, 0.0F));
    harmonics.magnitude[0] = magnitude;
    harmonics.voiced[0] = ~0U;
    return harmonics;
}
const double tilt_of_one = std::exp2(0.4 * 0x0C000000 / 0x1p32);

// A spectrum with formants, valleys and a few harmonics that are not there.
std::vector<float> spectrum(int harmonics, unsigned seed) {
    std::vector<float> magnitudes;
    for (int l = 1; l <= harmonics; l++) {
        seed = 1664525 * seed + 1013904223;
        const double level = 20 * std::exp(3 * std::sin(l * 0.4)) * (0.5 + (seed >> 8) / 0x1p24);
        magnitudes.push_back(seed % 11 == 0 ? 0.0F : static_cast<float>(level));
    }
    return magnitudes;
}

// The rule as it is written, in double precision.
std::vector<double> enhanced(const std::vector<float>& magnitudes, double f0) {
    const double omega = 2 * M_PI * f0;
    double r0 = 0;
    double r1 = 0;
    for (std::size_t i = 0; i < magnitudes.size(); i++) {
        const double square = static_cast<double>(magnitudes[i]) * magnitudes[i];
        r0 += square;
        r1 += square * std::cos(omega * static_cast<double>(i + 1));
    }
    std::vector<double> result;
    double after = 0;
    for (std::size_t i = 0; i < magnitudes.size(); i++) {
        const double l = static_cast<double>(i + 1);
        const double magnitude = static_cast<double>(magnitudes[i]);
        const double w =
            std::sqrt(magnitude) * std::pow(0.96 * M_PI * (r0 * r0 + r1 * r1 - 2 * r0 * r1 * std::cos(omega * l)) /
                                                (omega * r0 * (r0 * r0 - r1 * r1)),
                                            0.25);
        const double factor = 8 * (i + 1) <= magnitudes.size() ? 1 : std::min(1.2, std::max(0.5, std::pow(w, 0.25)));
        result.push_back(factor * magnitude);
        after += result.back() * result.back();
    }
    for (std::size_t i = 0; i < result.size(); i++)
        result[i] *= std::sqrt(r0 / after) * std::exp2(0.4 * static_cast<double>(i + 1) * f0);
    return result;
}

double sum_of(const Harmonics& harmonics) {
    double sum = 0;
    for (const float magnitude : harmonics.magnitude) sum += static_cast<double>(magnitude);
    return sum;
}

}  // namespace

class HarmonicsEnhance : public DecoderVersions {
  protected:
    void enhance(Harmonics& harmonics, ChannelQuality quality) {
        version().harmonics_enhance(harmonics, energy, quality);
    }

    RunningEnergy energy = running_energy_start;
};
INSTANTIATE_TEST_SUITE_P(Versions, HarmonicsEnhance, every_version, version_name);

TEST_P(HarmonicsEnhance, EnhancementAndTiltAreThoseOfTheRule) {
    for (const int count : {9, 15, 16, 24, 37, 40, 56})
        for (unsigned seed = 1; seed < 20; seed++) {
            const std::vector<float> magnitudes = spectrum(count, seed);
            const auto fundamental = static_cast<std::uint32_t>(0.4627 / count * 0x1p32);
            Harmonics harmonics = harmonics_with(fundamental, magnitudes);
            enhance(harmonics, clean);
            const std::vector<double> expected = enhanced(magnitudes, fundamental * 0x1p-32);
            for (int i = 0; i < count; i++)
                ASSERT_NEAR(harmonics.magnitude[i], expected[static_cast<std::size_t>(i)],
                            1e-4 * expected[static_cast<std::size_t>(i)])
                    << count << " " << seed << " " << i;
            for (int i = count; i < harmonic_slots; i++) ASSERT_EQ(harmonics.magnitude[i], 0.0F);
        }
}

TEST_P(HarmonicsEnhance, WeightsStayBetweenAHalfAndSixFifths) {
    // Beside one loud harmonic, faint ones have the smallest weight, 0.5, and its own is cut at 1.2. The loud one has
    // all the energy, so that it comes out as it was, and the others 0.5 / 1.2 of what they were.
    std::vector<float> magnitudes(40, 0.0001F);
    magnitudes[19] = 10000.0F;
    Harmonics harmonics = harmonics_with(0x02000000, magnitudes);
    enhance(harmonics, clean);
    EXPECT_NEAR(harmonics.magnitude[19], 10000 * std::exp2(0.4 * 20 / 128), 0.1);
    for (int l = 6; l <= 40; l++) {
        if (l == 20) continue;
        EXPECT_NEAR(harmonics.magnitude[l - 1] / 0.0001, 0.5 / 1.2 * std::exp2(0.4 * l / 128), 1e-4) << l;
    }
    EXPECT_NEAR(harmonics.magnitude[4] / 0.0001, 1 / 1.2 * std::exp2(0.4 * 5 / 128), 1e-4);
}

TEST_P(HarmonicsEnhance, LowestEighthOfTheHarmonicsKeepsItsMagnitude) {
    // With 8 l = L, harmonic 5 of 40 is one of them; the sixth is not. Alone, only the tilt is left of the rule.
    for (const int l : {1, 5, 6, 40}) {
        std::vector<float> magnitudes(40, 0.0F);
        magnitudes[static_cast<std::size_t>(l - 1)] = 700;
        Harmonics harmonics = harmonics_with(0x02000000, magnitudes);
        enhance(harmonics, clean);
        EXPECT_NEAR(harmonics.magnitude[l - 1], 700 * std::exp2(0.4 * l / 128), 0.01) << l;
    }
}

TEST_P(HarmonicsEnhance, HarmonicsThatLeaveNothingToDivideByStayAsTheyAre) {
    // So low a fundamental that every cosine is 1, and R1 is R0.
    Harmonics harmonics = harmonics_with(1, std::vector<float>(30, 5.0F));
    enhance(harmonics, clean);
    for (int i = 0; i < 30; i++) EXPECT_EQ(harmonics.magnitude[i], 5.0F);
}

TEST_P(HarmonicsEnhance, SilentHarmonicsStaySilent) {
    Harmonics harmonics = harmonics_with(0x03000000, std::vector<float>(30, 0.0F));
    energy = {0, 0};
    enhance(harmonics, {0.09F, 6});
    for (const float magnitude : harmonics.magnitude) EXPECT_EQ(magnitude, 0.0F);
    for (const std::uint32_t voiced : harmonics.voiced) EXPECT_EQ(voiced, 0U);
    EXPECT_EQ(energy.mean, 10000.0F);
    EXPECT_EQ(energy.peak, 100000.0F);
}

// Q = 4000000, so that 8000000 is the most of a damaged frame: a magnitude of 4000 has twice as much. S and Q take the
// energy that is left of it.
TEST_P(HarmonicsEnhance, DamagedFrameHasAtMostTwiceTheEnergyOfThoseBeforeAndACleanOneGrowsAsItLikes) {
    const struct {
        ChannelQuality quality;
        float magnitude;
        double energy_left;
    } rows[] = {
        {damaged,     4000, 8000000    },
        {damaged,     2828, 2828 * 2828},
        {damaged,     2800, 2800 * 2800},
        {damaged,     1000, 1000 * 1000},
        {{0.005F, 4}, 4000, 4000 * 4000},
    };
    for (const auto& row : rows) {
        energy = running_energy_start;
        Harmonics harmonics = one_harmonic(row.magnitude);
        enhance(harmonics, row.quality);
        EXPECT_NEAR(harmonics.magnitude[0], std::sqrt(row.energy_left) * tilt_of_one, 0.01) << row.magnitude;
        EXPECT_NEAR(energy.peak, std::max(0.985 * 4000000, row.energy_left), 1) << row.magnitude;
        EXPECT_NEAR(energy.mean, 0.95 * 75000 + 0.05 * row.energy_left, 1) << row.magnitude;
    }
}

TEST_P(HarmonicsEnhance, PeakAndMeanFallSlowlyToTheirFloors) {
    double peak = 4000000;
    double mean = 75000;
    for (int frame = 0; frame < 300; frame++) {
        Harmonics harmonics = one_harmonic(50);
        enhance(harmonics, clean);
        peak = std::max(100000.0, 0.985 * peak);
        mean = std::max(10000.0, 0.95 * mean + 0.05 * 2500);
        ASSERT_NEAR(energy.peak / peak, 1, 1e-5) << frame;
        ASSERT_NEAR(energy.mean / mean, 1, 1e-5) << frame;
    }
    EXPECT_EQ(energy.peak, 100000.0F);
    EXPECT_EQ(energy.mean, 10000.0F);
}

TEST_P(HarmonicsEnhance, PeakCountsUnvoicedHarmonicsLikeVoicedOnesOfTheSamePower) {
    // An unvoiced magnitude is 0.2046 / sqrt(omega) times that of a voiced one.
    const double factor = 0.2046 / std::sqrt(2 * M_PI * 0x0C000000 / 0x1p32);
    Harmonics harmonics = one_harmonic(static_cast<float>(3000 * factor));
    harmonics.voiced[0] = 0;
    enhance(harmonics, clean);
    EXPECT_NEAR(energy.peak, 9000000, 5);
    EXPECT_NEAR(energy.mean, 0.95 * 75000 + 0.05 * 9000000 * factor * factor, 1);
}

TEST_P(HarmonicsEnhance, SumOfMagnitudesIsLimited) {
    Harmonics harmonics = harmonics_with(0x0A000000, std::vector<float>(10, 5000.0F));
    enhance(harmonics, clean);
    EXPECT_NEAR(sum_of(harmonics), 40960, 0.1);

    harmonics = one_harmonic(static_cast<float>(40950 / tilt_of_one));
    enhance(harmonics, clean);
    EXPECT_NEAR(sum_of(harmonics), 40950, 0.1);
}

TEST_P(HarmonicsEnhance, OnlyMagnitudesAboveTheThresholdOfTheErrorRateBecomeVoiced) {
    // 45.255 S^0.375 exp(-277.26 rate) up to a rate of 0.0125, 1.414 S^0.375 above it. S moves by the frame itself, to
    // 0.95 S + 0.05 M^2, at least 10000: the M that, tilted, is its own threshold is found by repeated insertion.
    const auto threshold_at = [](double rate, double mean_before) {
        double threshold = 100;
        for (int i = 0; i < 100; i++) {
            const double before_tilt = threshold / tilt_of_one;
            const double mean = std::max(10000.0, 0.95 * mean_before + 0.05 * before_tilt * before_tilt);
            const double factor = rate <= 0.0125 ? 45.255 * std::exp(-277.26 * rate) : 1.414;
            threshold = factor * std::pow(mean, 0.375);
        }
        return threshold;
    };
    for (const float rate : {0.008F, 0.0124F, 0.0126F, 0.05F})
        for (const float mean_before : {75000.0F, 500000.0F, 0.0F})
            for (const double share : {0.9995, 1.0005}) {
                const double magnitude = share * threshold_at(static_cast<double>(rate), mean_before);
                Harmonics harmonics = one_harmonic(static_cast<float>(magnitude / tilt_of_one));
                harmonics.voiced[0] = 0;
                energy = {mean_before, 1e12F};
                enhance(harmonics, {rate, 0});
                EXPECT_EQ(harmonics.voiced[0] != 0, share > 1) << rate << " " << mean_before;
                EXPECT_NEAR(harmonics.magnitude[0] / magnitude, 1, 1e-6) << "forced to voiced, it keeps its magnitude";
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
        Harmonics harmonics = harmonics_with(0x0C000000, std::vector<float>(9, 1.0F));
        harmonics.magnitude[0] = 1000;
        energy = running_energy_start;
        enhance(harmonics, {rate, errors});
        EXPECT_EQ(harmonics.voiced[0] != 0, becomes_voiced) << rate << " " << errors;
        EXPECT_EQ(harmonics.voiced[1], 0U);
        EXPECT_EQ(harmonics.voiced[9], 0U);
    }
}
