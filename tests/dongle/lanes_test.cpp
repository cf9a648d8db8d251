// SPDX-License-Identifier: MIT
#include "lanes.h"

#include <gtest/gtest.h>

#include <cmath>

namespace {

using baseline::Floats;
using baseline::Words;

float cosine_of(std::uint32_t phase) {
    return baseline::cosine(baseline::splat(phase))[0];
}
float sine_of(std::uint32_t phase) {
    return baseline::sine(baseline::splat(phase))[0];
}
float power_of(float x) {
    return baseline::power_of_two(baseline::splat(x))[0];
}

}  // namespace

TEST(Lanes, CosineAndSineAreThoseOfThePhase) {
    for (std::uint64_t phase = 0; phase < 1ULL << 32; phase += 65521) {
        const auto bits = static_cast<std::uint32_t>(phase);
        const double angle = 2 * M_PI * static_cast<double>(bits) / 0x1p32;
        ASSERT_NEAR(cosine_of(bits), std::cos(angle), 3e-7) << bits;
        ASSERT_NEAR(sine_of(bits), std::sin(angle), 3e-7) << bits;
    }
}

TEST(Lanes, CosineAtTheQuarters) {
    EXPECT_FLOAT_EQ(cosine_of(0), 1);
    EXPECT_EQ(cosine_of(0x40000000), 0);
    EXPECT_FLOAT_EQ(cosine_of(0x80000000), -1);
    EXPECT_EQ(cosine_of(0xC0000000), 0);
    EXPECT_EQ(sine_of(0), 0);
}

TEST(Lanes, PowerOfTwo) {
    for (float x = -125.9F; x < 125.9F; x += 0.0137F)
        ASSERT_NEAR(static_cast<double>(power_of(x)) / std::exp2(static_cast<double>(x)), 1, 3e-7) << x;
    EXPECT_EQ(power_of(0), 1);
    EXPECT_EQ(power_of(10), 1024);
    EXPECT_EQ(power_of(-3), 0.125F);
}

TEST(Lanes, PowerOfTwoStaysFiniteOutsideItsRange) {
    EXPECT_EQ(power_of(1e9F), 0x1p126F);
    EXPECT_EQ(power_of(-1e9F), 0x1p-126F);
}

TEST(Lanes, SumIsThatOfAllEight) {
    EXPECT_EQ(baseline::sum(Floats{1, 2, 4, 8, 16, 32, 64, 128}), 255);
}

TEST(Lanes, SlotsBelowACount) {
    for (int count = 0; count <= 24; count++)
        for (int first = 0; first < 24; first += baseline::lane_count) {
            const Words mask = baseline::slots_below(first, count);
            for (int lane = 0; lane < baseline::lane_count; lane++)
                ASSERT_EQ(mask[lane], first + lane < count ? ~0U : 0U) << first << " " << count;
        }
}
