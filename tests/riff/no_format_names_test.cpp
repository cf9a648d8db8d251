// SPDX-License-Identifier: MIT
// The lookup of a format's name over a table that has no rows.
#include <gtest/gtest.h>

#include "codec/codec_table.h"
#include "riff/wave_format.h"

// The second row must not be reached.
const CodecEntry codec_table[] = {
    {1, nullptr,          nullptr},
    {2, "behind the end", nullptr},
    {0, nullptr,          nullptr}
};

TEST(WaveFormatNameOfAnEmptyTable, EveryTagIsUnknown) {
    EXPECT_STREQ(wave_format_name(1), "<0001>");
    EXPECT_STREQ(wave_format_name(2), "<0002>");
}
