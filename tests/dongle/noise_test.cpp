// SPDX-License-Identifier: MIT
#include "synthesis/noise.h"

#include <gtest/gtest.h>

#include "dongle/decoder_versions.h"

class Noise : public DecoderVersions {};
INSTANTIATE_TEST_SUITE_P(Versions, Noise, every_version, version_name);

TEST_P(Noise, FirstValues) {
    std::uint32_t state = noise_start;
    std::uint32_t words[8];
    version().noise_words(state, words, 8);
    const double expected[] = {-0.22976247, -0.89762200, 0.21420208, -0.80613132};
    for (int i = 0; i < 4; i++) EXPECT_NEAR(static_cast<std::int32_t>(words[i]) * 0x1p-31, expected[i], 1e-8) << i;
    EXPECT_EQ(words[3], 0x98D0B055U);
}

TEST_P(Noise, IsTheSequenceOfItsRecurrenceFromCallToCall) {
    std::uint32_t state = noise_start;
    std::uint32_t expected = noise_start;
    for (int call = 0; call < 100; call++) {
        const int count = call % 2 == 0 ? 56 : most_noise_words;
        std::uint32_t words[most_noise_words];
        version().noise_words(state, words, count);
        for (int i = 0; i < count; i++) {
            expected = 1664525U * expected + 1013904223U;
            ASSERT_EQ(words[i], expected);
        }
        EXPECT_EQ(state, expected);
    }
}
