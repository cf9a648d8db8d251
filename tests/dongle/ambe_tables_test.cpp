// SPDX-License-Identifier: MIT
#include "ambe_tables.h"

#include <gtest/gtest.h>

#include <cmath>

#include "synthesis_parts.h"

TEST(AmbeTables, PitchIsAnExponentialOfItsIndex) {
    for (int b0 = 0; b0 < voice_pitches; b0++) {
        const double f0 = std::exp2(-17661.0 / 4096 - 0.021336 * (b0 + 0.5));
        EXPECT_NEAR(pitch_table[b0].fundamental, f0, 6e-10) << b0;
        EXPECT_NEAR(pitch_table[b0].fundamental_alternative, std::pow(19.0 / 123, b0 / 123.0) / 19, 6e-10) << b0;
    }
}

TEST(AmbeTables, HarmonicsReachUpToAlmostHalfTheSamplingRate) {
    for (const PitchRow& row : pitch_table) {
        // The upper edge of the last harmonic's band, too, lies below half the sampling rate.
        EXPECT_LT(row.fundamental * (row.harmonics + 0.5), 0.5) << row.fundamental;
        EXPECT_GT(row.fundamental * (row.harmonics + 1), 0.45) << row.fundamental;
        const int alternative = static_cast<int>(0.4627 / row.fundamental_alternative);
        EXPECT_EQ(row.harmonics_alternative, std::min(56, std::max(9, alternative))) << row.fundamental;
    }
}

TEST(AmbeTables, VoicingIsFourBitsEachForTwoBands) {
    for (int b1 = 0; b1 < 16; b1++)
        for (int band = 0; band < voicing_bands; band++)
            EXPECT_EQ(voicing_table[b1][band], b1 >> (3 - band / 2) & 1) << b1 << " " << band;
}

TEST(AmbeTables, GainsRiseUpToTheLastTwoWhichAreEqual) {
    for (int b2 = 1; b2 < 63; b2++) EXPECT_GT(gain_table[b2], gain_table[b2 - 1]) << b2;
    EXPECT_EQ(gain_table[0], 0.0F);
    EXPECT_EQ(gain_table[62], 5.352783F);
    EXPECT_EQ(gain_table[63], 5.352783F);
}

TEST(AmbeTables, CodebookValuesLieInTheirRange) {
    const auto check = [](const auto& book) {
        for (const auto& row : book)
            for (const float value : row) {
                EXPECT_GE(value, -1.3125F);
                EXPECT_LE(value, 1.75F);
            }
    };
    check(prba24_table);
    check(prba58_table);
    check(hoc_b5_table);
    check(hoc_b6_table);
    check(hoc_b7_table);
    check(hoc_b8_table);
}

TEST(AmbeTables, FourBlocksRiseInLengthAndAddUpToTheHarmonics) {
    for (int harmonics = min_harmonics; harmonics <= max_harmonics; harmonics++) {
        const std::uint8_t* lengths = block_length_table[harmonics - min_harmonics];
        EXPECT_EQ(lengths[0] + lengths[1] + lengths[2] + lengths[3], harmonics);
        for (int block = 0; block < harmonic_blocks; block++) {
            EXPECT_GE(lengths[block], 2);
            EXPECT_LE(lengths[block], 17);
            EXPECT_GE(lengths[block], lengths[block == 0 ? 0 : block - 1]) << harmonics;
        }
    }
}

TEST(SynthesisWindow, TwoNeighboursAddUpToOne) {
    double squares = 0;
    for (int n = -160; n <= 160; n++) squares += static_cast<double>(synthesis_window(n)) * synthesis_window(n);
    EXPECT_NEAR(squares, 143.34, 0.001);
    for (int n = 0; n <= 160; n++) EXPECT_NEAR(synthesis_window(n) + synthesis_window(n - 160), 1, 1e-7) << n;
    EXPECT_EQ(synthesis_window(55), 1.0F);
    EXPECT_FLOAT_EQ(synthesis_window(-56), 0.98F);
    EXPECT_FLOAT_EQ(synthesis_window(104), 0.02F);
    EXPECT_EQ(synthesis_window(105), 0.0F);
}
