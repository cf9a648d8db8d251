// SPDX-License-Identifier: MIT
#include "ambe/golay.h"

#include <gtest/gtest.h>

#include <bit>

#include "dongle/frame_builder.h"

namespace {

constexpr std::uint32_t data_words = 4096;
constexpr int word_bits = 24;

// Calls `check` with every pattern of `weight` ones in 24 bits.
template <class Check>
void for_each_pattern(int weight, Check check) {
    if (weight == 0) return check(0U);
    std::uint32_t pattern = (1U << weight) - 1;
    while (pattern < 1U << word_bits) {
        check(pattern);
        const std::uint32_t lowest = pattern & (~pattern + 1);
        const std::uint32_t ripple = pattern + lowest;
        pattern = ripple | ((pattern ^ ripple) >> 2) / lowest;
    }
}

// Of all data words with all patterns of `weight` wrong bits: how many there are, how many come back otherwise.
struct Tally {
    long words = 0;
    long wrong_data = 0;
    long wrong_count = 0;
};

Tally tally(int weight) {
    Tally result;
    for (std::uint32_t data = 0; data < data_words; data++) {
        const std::uint32_t word = golay24_encode(data);
        for_each_pattern(weight, [&](std::uint32_t pattern) {
            const GolayWord decoded = golay24_decode(word ^ pattern);
            result.words++;
            result.wrong_data += decoded.data != data ? 1 : 0;
            result.wrong_count += decoded.errors != weight ? 1 : 0;
        });
    }
    return result;
}

}  // namespace

TEST(Golay, PublishedWords) {
    EXPECT_EQ(golay24_encode(0x001), 0x0018EBU);
    EXPECT_EQ(golay24_encode(0x800), 0x800C75U);
    EXPECT_EQ(golay24_encode(0xABC), 0xABC23CU);
}

TEST(Golay, EveryWordIsTheRemainderOfItsDivisionAndAParityBit) {
    for (std::uint32_t data = 0; data < data_words; data++) ASSERT_EQ(golay24_encode(data), golay_word(data));
}

TEST(Golay, AnyTwoWordsDifferInAtLeastEightBits) {
    for (std::uint32_t data = 1; data < data_words; data++) ASSERT_GE(std::popcount(golay24_encode(data)), 8);
}

TEST(Golay, EveryWordWithUpToThreeWrongBitsIsCorrectedAndCounted) {
    const long patterns[] = {1, 24, 276, 2024};  // 24 over 0, 1, 2, 3
    for (int weight = 0; weight <= 3; weight++) {
        const Tally result = tally(weight);
        EXPECT_EQ(result.words, patterns[weight] * data_words);
        EXPECT_EQ(result.wrong_data, 0) << weight << " wrong bits";
        EXPECT_EQ(result.wrong_count, 0) << weight << " wrong bits";
    }
}

TEST(Golay, FourWrongBitsAreAlwaysFlagged) {
    // The code is linear, so what one word shows holds for all; a few more are tried.
    for (const std::uint32_t data : {0x000U, 0xFFFU, 0x123U, 0xABCU}) {
        const std::uint32_t word = golay24_encode(data);
        long words = 0;
        for_each_pattern(4, [&](std::uint32_t pattern) {
            words++;
            ASSERT_EQ(golay24_decode(word ^ pattern).errors, golay_uncorrectable) << pattern;
        });
        EXPECT_EQ(words, 10626);
    }
}

TEST(Golay, BitsAboveTheWordDoNotMatter) {
    EXPECT_EQ(golay24_encode(0x1ABC), 0xABC23CU);
    EXPECT_EQ(golay24_decode(0xFFABC23C).data, 0xABCU);
    EXPECT_EQ(golay24_decode(0xFFABC23C).errors, 0);
}
