// SPDX-License-Identifier: MIT
#include "ambe/ambe_tables.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <iterator>

#include "dongle/golden_table.h"
#include "synthesis/voiced.h"

namespace {

// The numbers of tests/data/tables/`name`, row by row and column by column, are those of `value_of(row, column)`.
template <class Value>
void expect_table(const std::string& name, std::size_t rows, const std::vector<std::string>& columns, Value value_of) {
    const std::vector<GoldenRow> expected = golden_table("tables/" + name);
    ASSERT_GE(expected.size(), rows) << name;
    for (std::size_t row = 0; row < rows; row++)
        for (std::size_t i = 0; i < columns.size(); i++)
            EXPECT_EQ(value_of(row, i), static_cast<decltype(value_of(row, i))>(real(expected[row], columns[i])))
                << name << " row " << row << " " << columns[i];
}

template <class Book>
void expect_book(const std::string& name, const Book& book, const std::vector<std::string>& columns) {
    ASSERT_EQ(std::size(book[0]), columns.size()) << name;
    expect_table(name, std::size(book), columns, [&](std::size_t row, std::size_t i) { return book[row][i]; });
}

}  // namespace

TEST(AmbeTables, EveryTableIsThatOfTheData) {
    const std::vector<std::string> higher = {"C3", "C4", "C5", "C6"};
    expect_book("prba24.csv", prba24_table, {"G2", "G3", "G4"});
    expect_book("prba58.csv", prba58_table, {"G5", "G6", "G7", "G8"});
    expect_book("hoc_b5.csv", hoc_b5_table, higher);
    expect_book("hoc_b6.csv", hoc_b6_table, higher);
    expect_book("hoc_b7.csv", hoc_b7_table, higher);
    expect_book("hoc_b8.csv", hoc_b8_table, higher);
    expect_book("voicing.csv", voicing_table, {"band0", "band1", "band2", "band3", "band4", "band5", "band6", "band7"});
    expect_book("block_lengths.csv", block_length_table, {"J1", "J2", "J3", "J4"});
    expect_table("gain.csv", 64, {"delta_gamma"}, [](std::size_t row, std::size_t) { return gain_table[row]; });
    // The two rows of silence that follow are not used.
    expect_table("pitch.csv", voice_pitches, {"f0", "L"}, [](std::size_t row, std::size_t i) {
        const PitchRow& pitch = pitch_table[row];
        return i == 0 ? pitch.fundamental : double(pitch.harmonics);
    });
}

TEST(AmbeTables, PitchAndHarmonicsFollowTheirRule) {
    for (int b0 = 0; b0 < voice_pitches; b0++) {
        const double u = std::exp2(4.1261 + 0.02179 * (b0 - 45));
        EXPECT_NEAR(pitch_table[b0].fundamental, 0.4627 / u, 6e-10) << b0;
        EXPECT_EQ(pitch_table[b0].harmonics, std::min(56, std::max(9, static_cast<int>(u)))) << b0;
    }
}

TEST(AmbeTables, HarmonicsReachUpToAlmostHalfTheSamplingRate) {
    for (const PitchRow& row : pitch_table) {
        EXPECT_LT(row.fundamental * row.harmonics, 0.48) << row.fundamental;
        EXPECT_GT(row.fundamental * (row.harmonics + 1), 0.46) << row.fundamental;
    }
}

TEST(AmbeTables, BlocksOfTwentyHarmonicsAreThoseOfVocoderHardware) {
    const std::uint8_t* lengths = block_length_table[20 - min_harmonics];
    EXPECT_EQ(lengths[0], 4);
    EXPECT_EQ(lengths[1], 5);
    EXPECT_EQ(lengths[2], 5);
    EXPECT_EQ(lengths[3], 6);
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
