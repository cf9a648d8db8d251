// SPDX-License-Identifier: MIT
#include "synthesis/noise.h"

#include <gtest/gtest.h>

#include "dongle/decoder_versions.h"

class Noise : public DecoderVersions {};
INSTANTIATE_TEST_SUITE_P(Versions, Noise, every_version, version_name);

TEST_P(Noise, FirstValues) {
    std::uint32_t state = noise_start;
    float samples[8];
    version().noise_samples(state, samples, 8);
    EXPECT_NEAR(samples[0], -0.22976247, 1e-7);
    EXPECT_NEAR(samples[1], -0.89762200, 1e-7);
    EXPECT_NEAR(samples[2], 0.21420208, 1e-7);
    EXPECT_NEAR(samples[3], -0.80613132, 1e-7);

    std::uint32_t words[8];
    state = noise_start;
    version().noise_words(state, words, 8);
    EXPECT_EQ(words[3], 0x98D0B055U);
}

TEST_P(Noise, IsTheSequenceOfItsRecurrenceFromCallToCall) {
    std::uint32_t state = noise_start;
    std::uint32_t expected = noise_start;
    for (int call = 0; call < 100; call++) {
        std::uint32_t words[56];
        version().noise_words(state, words, 56);
        for (const std::uint32_t word : words) {
            expected = 1664525U * expected + 1013904223U;
            ASSERT_EQ(word, expected);
        }
        EXPECT_EQ(state, expected);
    }
}
