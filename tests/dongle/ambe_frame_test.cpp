// SPDX-License-Identifier: MIT
#include "ambe/ambe_frame.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>

#include "dongle/frame_builder.h"
#include "dongle/frame_fields.h"
#include "support/bytes.h"

namespace {

AmbeFrameBytes frame_of_hex(const std::string& text) {
    AmbeFrameBytes frame;
    std::ranges::copy(unhex(text), frame.begin());
    return frame;
}

}  // namespace

TEST(AmbeFrame, WordsOfTheSilenceFrameOfRadioGear) {
    const ChannelWords words = ambe_deinterleave(frame_of_hex("9e8d3288261a3f61e8000000"));
    EXPECT_EQ(words.c0, 0xF85334U);
    EXPECT_EQ(words.c1, 0x439A0EU);
    EXPECT_EQ(words.c2, 0x9DE80AU);
}

TEST(AmbeFrame, SilenceFrameOfRadioGearIsClean) {
    const AmbeFrame frame = ambe_frame_decode(frame_of_hex("9e8d3288261a3f61e8000000"));
    EXPECT_EQ(frame.errors_c0 + frame.errors_c1, 0);
    EXPECT_EQ(frame.pitch_index, 124);
}

TEST(AmbeFrame, EveryStreamBitGoesToItsPlace) {
    for (unsigned word = 0; word < 3; word++)
        for (unsigned bit = 0; bit < 24; bit++) {
            AmbeFrameBytes bytes{};
            const unsigned p = stream_bit(word, bit);
            bytes[p / 8] = static_cast<std::uint8_t>(0x80 >> p % 8);
            std::uint32_t expected[3] = {};
            expected[word] = 0x800000U >> bit;
            const ChannelWords words = ambe_deinterleave(bytes);
            ASSERT_EQ(words.c0, expected[0]) << p;
            ASSERT_EQ(words.c1, expected[1]) << p;
            ASSERT_EQ(words.c2, expected[2]) << p;
        }
}

TEST(AmbeFrame, ScramblerSequences) {
    EXPECT_EQ(ambe_scrambling_sequence(0x000), 0x42CC47U);
    EXPECT_EQ(ambe_scrambling_sequence(0xFFF), 0x0B3F09U);
    EXPECT_EQ(ambe_scrambling_sequence(0x123), 0xBE5982U);
    EXPECT_EQ(ambe_scrambling_sequence(0xB6C), 0xAC03D4U);
    for (std::uint32_t data = 0; data < 4096; data++) ASSERT_EQ(ambe_scrambling_sequence(data), scrambling(data));
}

TEST(AmbeFrame, WorkedExample) {
    const AmbeFrame frame = ambe_frame_decode(frame_of_hex("e0f92d4e5c49e3f183000000"));
    EXPECT_EQ(frame.voice_bits, 0xB6C7DC4875F5U);
    const int fields[] = {91, 11, 47, 62, 94, 1, 2, 1, 6};
    for (int i = 0; i < 9; i++) EXPECT_EQ(frame.*frame_fields[i], fields[i]) << "b" << i;
}

TEST(AmbeFrame, VectorsInEveryColumn) {
    const std::vector<GoldenRow> rows = golden_table("golden/fec_vectors.csv");
    ASSERT_EQ(rows.size(), 603U);
    for (const GoldenRow& row : rows) {
        const std::string& hex = row.at("frame_hex");
        const AmbeFrame frame = ambe_frame_decode(frame_of_hex(hex));
        ASSERT_EQ(frame.errors_c0, whole(row, "e0")) << hex;
        ASSERT_EQ(frame.errors_c1, whole(row, "e1")) << hex;
        ASSERT_EQ(frame.voice_bits, std::stoull(row.at("voice_bits_hex"), nullptr, 16)) << hex;
        for (int i = 0; i < 9; i++)
            ASSERT_EQ(frame.*frame_fields[i], whole(row, "b" + std::to_string(i))) << hex << " b" << i;
        ASSERT_EQ(frame.tone_index, whole(row, "tone_raw")) << hex;
        ASSERT_EQ(frame.tone_volume, whole(row, "volume")) << hex;
    }
}

TEST(AmbeFrame, SlowDataIsNotLookedAt) {
    std::mt19937 random(1);
    for (int i = 0; i < 1000; i++) {
        AmbeFrameBytes bytes{};
        for (std::uint8_t& byte : bytes) byte = static_cast<std::uint8_t>(random());
        const AmbeFrame frame = ambe_frame_decode(bytes);
        bytes[9] = bytes[10] = bytes[11] = static_cast<std::uint8_t>(random());
        const AmbeFrame other = ambe_frame_decode(bytes);
        ASSERT_EQ(frame.voice_bits, other.voice_bits);
        ASSERT_EQ(frame.errors_c0 + frame.errors_c1, other.errors_c0 + other.errors_c1);
    }
}
