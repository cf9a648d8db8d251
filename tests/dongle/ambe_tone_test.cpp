// SPDX-License-Identifier: MIT
#include "ambe/ambe_tone.h"

#include <gtest/gtest.h>

#include "dongle/frame_builder.h"

TEST(AmbeTone, KnownIndices) {
    int known = 0;
    for (int raw = 0; raw < 256; raw++) known += tone_is_known(raw) ? 1 : 0;
    EXPECT_EQ(known, 16 + 16 + 118);
    for (const int raw : {0, 31, 37, 154}) EXPECT_TRUE(tone_is_known(raw)) << raw;
    for (const int raw : {32, 36, 155, 255}) EXPECT_FALSE(tone_is_known(raw)) << raw;
}

TEST(AmbeTone, LinesAndLevelOfAFrame) {
    // Frequencies in turns per sample times 2^32; the peak is 2^(volume / 16.934 - 1).
    AmbeFrame frame{};
    frame.tone_index = 64;  // 31.25 * 32 = 1000 Hz, an eighth of a turn
    frame.tone_volume = 232;
    const ToneModel single = ambe_tone_decode(frame);
    EXPECT_EQ(single.first_step, 0x20000000U);
    EXPECT_EQ(single.second_step, 0U);
    EXPECT_NEAR(single.log2_peak, 232 / 16.934 - 1, 1e-6);

    frame.tone_index = 13;  // the key 0 has index 7, D the last, 15; 13 is B: 1633 and 770 Hz
    const ToneModel dual = ambe_tone_decode(frame);
    EXPECT_NEAR(dual.first_step * 0x1p-32, 1633.0 / 8000, 1e-9);
    EXPECT_NEAR(dual.second_step * 0x1p-32, 770.0 / 8000, 1e-9);

    frame.tone_index = 16 + 6;  // the second table: 1162 and 743 Hz
    const ToneModel paging = ambe_tone_decode(frame);
    EXPECT_NEAR(paging.first_step * 0x1p-32, 1162.0 / 8000, 1e-9);
    EXPECT_NEAR(paging.second_step * 0x1p-32, 743.0 / 8000, 1e-9);
}

TEST(AmbeTone, EveryIndexHasItsFrequencies) {
    for (int raw = 0; raw < 256; raw++) {
        if (!tone_is_known(raw)) continue;
        AmbeFrame frame{};
        frame.tone_index = raw;
        const ToneModel tone = ambe_tone_decode(frame);
        const auto [first, second] = tone_lines(static_cast<unsigned>(raw));
        EXPECT_NEAR(tone.first_step * 0x1p-32 * 8000, first, 1e-5) << raw;
        EXPECT_NEAR(tone.second_step * 0x1p-32 * 8000, second, 1e-5) << raw;
    }
}
