// SPDX-License-Identifier: MIT
// How the lookup of a format's name walks a table that is built to tell its steps apart.
#include <gtest/gtest.h>

#include "codec/codec_table.h"
#include "riff/wave_format.h"

// clang-format off
const CodecEntry codec_table[] = {
    {0x0009, "first",         nullptr},
    {0x0002, "two",           nullptr},
    {0x0002, "two again",     nullptr},
    {0x0001, "one, not first", nullptr},
    {0xFFFE, "minus two",     nullptr},
    {0,      nullptr,         nullptr},
    {0x0003, "behind the end", nullptr},
};
// clang-format on

TEST(WaveFormatNameLookup, TagOneIsTheFirstRowWhateverItsTag) {
    EXPECT_STREQ(wave_format_name(1), "first");
}

TEST(WaveFormatNameLookup, FirstRowIsNotSearched) {
    EXPECT_STREQ(wave_format_name(9), "<0009>");
}

TEST(WaveFormatNameLookup, FirstOfTwoRowsWithATagWins) {
    EXPECT_STREQ(wave_format_name(2), "two");
}

TEST(WaveFormatNameLookup, RowWithoutANameEndsTheSearch) {
    EXPECT_STREQ(wave_format_name(3), "<0003>");
}

TEST(WaveFormatNameLookup, TagOfARowIsASigned16BitValue) {
    EXPECT_STREQ(wave_format_name(-2), "minus two");
    EXPECT_STREQ(wave_format_name(0xFFFE), "<FFFE>");
}
