// SPDX-License-Identifier: MIT
// The functions over eight numbers, in every version. Each call gives all eight lanes numbers of their own.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

#include "dongle/lanes_probe.h"
#include "support/processor.h"

class Lanes : public testing::TestWithParam<const LanesProbe*> {
  protected:
    void SetUp() override {
        if (GetParam()->name == std::string("avx2") && !processor_has_avx2()) GTEST_SKIP() << "no AVX2 here";
    }
    const LanesProbe& version() const { return *GetParam(); }

    float power_of(float x) const {
        const EightFloats exponents = {x, x, x, x, x, x, x, x};
        EightFloats powers;
        version().power_of_two(exponents, powers);
        for (const float power : powers) EXPECT_EQ(power, powers[0]);
        return powers[0];
    }
};

constexpr const LanesProbe* probes[] = {
    &plain::lanes_probe,
    &portable::lanes_probe,
    &baseline::lanes_probe,
#ifdef __x86_64__
    &avx2::lanes_probe,
#endif
};
INSTANTIATE_TEST_SUITE_P(Versions, Lanes, testing::ValuesIn(probes),
                         [](const auto& test) { return std::string(test.param->name); });

TEST_P(Lanes, CosineAndSineAreThoseOfThePhase) {
    for (std::uint64_t phase = 0; phase < 1ULL << 32; phase += 8 * 65521) {
        EightWords phases;
        for (std::uint32_t lane = 0; lane < 8; lane++) phases[lane] = static_cast<std::uint32_t>(phase) + lane * 65521;
        EightFloats cosines;
        EightFloats sines;
        version().cosine(phases, cosines);
        version().sine(phases, sines);
        for (int lane = 0; lane < 8; lane++) {
            const double angle = 2 * M_PI * static_cast<double>(phases[lane]) / 0x1p32;
            ASSERT_NEAR(cosines[lane], std::cos(angle), 3e-7) << phases[lane];
            ASSERT_NEAR(sines[lane], std::sin(angle), 3e-7) << phases[lane];
        }
    }
}

TEST_P(Lanes, CosineAndSineAtTheQuarters) {
    const EightWords phases = {0, 0x40000000, 0x80000000, 0xC0000000, 0, 0x40000000, 0x80000000, 0xC0000000};
    const float expected[] = {1, 0, -1, 0, 1};
    EightFloats cosines;
    EightFloats sines;
    version().cosine(phases, cosines);
    version().sine(phases, sines);
    for (int lane = 0; lane < 8; lane++) {
        EXPECT_FLOAT_EQ(cosines[lane], expected[lane % 4]);
        EXPECT_FLOAT_EQ(sines[lane], expected[(lane + 3) % 4]);
    }
}

TEST_P(Lanes, PowerOfTwo) {
    for (float x = -125.9F; x < 125.9F; x += 0.0137F)
        ASSERT_NEAR(static_cast<double>(power_of(x)) / std::exp2(static_cast<double>(x)), 1, 3e-7) << x;
    EXPECT_EQ(power_of(0), 1);
    EXPECT_EQ(power_of(10), 1024);
    EXPECT_EQ(power_of(-3), 0.125F);
}

TEST_P(Lanes, PowerOfTwoStaysFiniteOutsideItsRange) {
    EXPECT_EQ(power_of(1e9F), 0x1p126F);
    EXPECT_EQ(power_of(-1e9F), 0x1p-126F);
}

TEST_P(Lanes, LogarithmIsThatOfEveryOrdinaryNumber) {
    for (float x = 1e-37F; x < 1e37F; x *= 1.0137F) {
        EightFloats numbers;
        EightFloats logarithms;
        for (int lane = 0; lane < 8; lane++) numbers[lane] = x * (1 + 0.3F * static_cast<float>(lane));
        version().log2(numbers, logarithms);
        for (int lane = 0; lane < 8; lane++) {
            const double expected = std::log2(static_cast<double>(numbers[lane]));
            ASSERT_NEAR(logarithms[lane], expected, 2e-7 * std::max(1.0, std::fabs(expected))) << numbers[lane];
        }
    }
}

TEST_P(Lanes, LogarithmsOfPowersOfTwoAreExact) {
    const EightFloats powers = {1, 2, 4, 0.5F, 0x1p-100F, 0x1p100F, 1024, 0.125F};
    const float expected[] = {0, 1, 2, -1, -100, 100, 10, -3};
    EightFloats logarithms;
    version().log2(powers, logarithms);
    for (int lane = 0; lane < 8; lane++) EXPECT_EQ(logarithms[lane], expected[lane]) << lane;
}

TEST_P(Lanes, TransposedRowsAreColumns) {
    EightFloats rows[8];
    for (int i = 0; i < 8; i++)
        for (int j = 0; j < 8; j++) rows[i][j] = static_cast<float>(10 * i + j);
    version().transpose(rows);
    for (int i = 0; i < 8; i++)
        for (int j = 0; j < 8; j++) EXPECT_EQ(rows[i][j], static_cast<float>(10 * j + i)) << i << " " << j;
}

TEST_P(Lanes, ShortsAreTheLowerHalvesOfTheWords) {
    const EightWords words = {0, 1, 0xFFFFFFFF, 32767, 0xFFFF8001, 0x00018000, 0x12345678, 0xABCD0002};
    const int expected[] = {0, 1, -1, 32767, -32767, -32768, 0x5678, 2};
    EightShorts shorts;
    version().shorts(words, shorts);
    for (int lane = 0; lane < 8; lane++) EXPECT_EQ(shorts[lane], expected[lane]) << lane;
}

TEST_P(Lanes, RootIsTheNearestNumber) {
    for (float x = 1e-30F; x < 1e30F; x *= 1.37F) {
        EightFloats squares;
        EightFloats roots;
        for (int lane = 0; lane < 8; lane++) squares[lane] = x * static_cast<float>(1 + lane);
        version().sqrt(squares, roots);
        for (int lane = 0; lane < 8; lane++)
            ASSERT_EQ(roots[lane], static_cast<float>(std::sqrt(static_cast<double>(squares[lane]))));
    }
}

TEST_P(Lanes, SmallerAndLargerOfTwo) {
    const EightFloats a = {1, -2, 3, -4, 5, 6, -7, 0};
    const EightFloats b = {2, -3, 3, 4, -5, 7, -8, 1};
    const float smaller[] = {1, -3, 3, -4, -5, 6, -8, 0};
    const float larger[] = {2, -2, 3, 4, 5, 7, -7, 1};
    EightFloats low;
    EightFloats high;
    version().min(a, b, low);
    version().max(a, b, high);
    for (int lane = 0; lane < 8; lane++) {
        EXPECT_EQ(low[lane], smaller[lane]) << lane;
        EXPECT_EQ(high[lane], larger[lane]) << lane;
    }
}

TEST_P(Lanes, MaskSelectsLaneByLane) {
    const EightFloats a = {1, 2, 3, 4, 5, 6, 7, 8};
    const EightFloats b = {-1, -2, -3, -4, -5, -6, -7, -8};
    const EightWords mask = {~0U, 0, 0, ~0U, 0, ~0U, ~0U, 0};
    EightFloats selected;
    version().select(mask, a, b, selected);
    for (int lane = 0; lane < 8; lane++) EXPECT_EQ(selected[lane], mask[lane] != 0 ? a[lane] : b[lane]) << lane;
}

TEST_P(Lanes, ShuffleTakesLanesOfBoth) {
    const EightFloats a = {0, 1, 2, 3, 4, 5, 6, 7};
    const EightFloats b = {8, 9, 10, 11, 12, 13, 14, 15};
    EightFloats even;
    version().even_lanes(a, b, even);
    for (int lane = 0; lane < 8; lane++) EXPECT_EQ(even[lane], static_cast<float>(2 * lane)) << lane;
}

TEST_P(Lanes, SumIsThatOfAllEight) {
    EXPECT_EQ(version().sum({1, 2, 4, 8, 16, 32, 64, 128}), 255);
}

TEST_P(Lanes, SumIsInTheOrderThatAllVersionsHave) {
    // ((0 + 4) + (2 + 6)) + ((1 + 5) + (3 + 7)): 2^26 swallows a 1 or 2 beside it and is gone before the others come.
    EXPECT_EQ(version().sum({0x1p26F, 1, 1, 1, -0x1p26F, 1, 1, 1}), 6);
    EXPECT_EQ(version().sum({0x1p26F, 1, -0x1p26F, 1, 1, 1, 1, 1}), 4);
    EXPECT_EQ(version().sum({0x1p26F, -0x1p26F, 1, 1, 1, 1, 1, 1}), 0);
}

TEST_P(Lanes, MaskBelowACount) {
    for (int count = 0; count <= 24; count++)
        for (int first = 0; first < 24; first += 8) {
            EightWords mask;
            version().mask_below(first, count, mask);
            for (int lane = 0; lane < 8; lane++)
                ASSERT_EQ(mask[lane], first + lane < count ? ~0U : 0U) << first << " " << count;
        }
}
