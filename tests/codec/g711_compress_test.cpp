// SPDX-License-Identifier: MIT
// Either way of coding a sample, and both against each other; what the codes must be is in g711_test.cpp, which also
// runs over a build without vectors.
#include "codec/g711_compress.h"

#include <gtest/gtest.h>

#include "codec/stream_tools.h"

namespace {

struct LawUnderTest {
    const char* name;
    std::uint8_t (*compress)(std::int16_t sample);
    std::uint32_t (*compress_run)(const std::uint8_t* in, std::uint8_t* out, std::uint32_t samples);
    // The ends of segments and of the number range.
    std::vector<std::pair<int, int>> known;
};

const LawUnderTest laws_under_test[] = {
    {"A-law",
     g711_alaw_compress, g711_alaw_compress_run,
     {{0, 0xD5}, {15, 0xD5}, {16, 0xD4}, {255, 0xDA}, {256, 0xC5}, {32767, 0xAA}, {-32767, 0x2A}, {-32768, 0x55}}},
    {"u-law",
     g711_ulaw_compress, g711_ulaw_compress_run,
     {{0, 0xFF},
      {3, 0xFF},
      {4, 0xFE},
      {123, 0xF0},
      {124, 0xEF},
      {32635, 0x80},
      {32767, 0x80},
      {-32767, 0x00},
      {-32768, 0x7F}}                                                                                            },
};

}  // namespace

TEST(G711Compress, EndsOfSegmentsAndOfTheNumberRange) {
    for (const LawUnderTest& law : laws_under_test) {
        for (const auto& [sample, code] : law.known) {
            EXPECT_EQ(law.compress(static_cast<std::int16_t>(sample)), code) << law.name << " " << sample;
        }
    }
}

TEST(G711Compress, RunsAreWholeSixteensAndGiveTheCodesOfSingleSamples) {
    std::vector<int> all;
    for (int sample = -32768; sample <= 32767; sample++) all.push_back(sample);
    const Bytes in = pcm_bytes(all);
    for (const LawUnderTest& law : laws_under_test) {
        Bytes out(all.size(), 0xEE);
        const std::uint32_t coded = law.compress_run(in.data(), out.data(), 65536);
#ifdef __SSE2__
        ASSERT_EQ(coded, 65536u) << law.name;
#else
        ASSERT_EQ(coded % 16, 0u) << law.name;
#endif
        for (std::size_t i = 0; i < coded; i++) {
            ASSERT_EQ(out[i], law.compress(static_cast<std::int16_t>(all[i]))) << law.name << " " << all[i];
        }
    }
}

TEST(G711Compress, RunWritesNothingBeyondItsWholeSixteens) {
    const Bytes in(2 * 64, 0x11);
    for (const LawUnderTest& law : laws_under_test) {
        for (const std::uint32_t samples : {0u, 1u, 15u, 16u, 17u, 31u, 32u, 63u}) {
            Bytes out(64, 0xEE);
            const std::uint32_t coded = law.compress_run(in.data(), out.data(), samples);
            EXPECT_LE(coded, samples - samples % 16) << law.name;
            EXPECT_EQ(slice(out, coded, 64 - coded), Bytes(64 - coded, 0xEE)) << law.name << " " << samples;
        }
    }
}
