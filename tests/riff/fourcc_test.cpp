// SPDX-License-Identifier: MIT
#include "riff/fourcc.h"

#include <gtest/gtest.h>

TEST(FourCc, FirstCharacterIsTheMostSignificantByte) {
    EXPECT_EQ(fourcc("RIFF"), 0x52494646u);
    EXPECT_EQ(fourcc("RIFX"), 0x52494658u);
    EXPECT_EQ(fourcc("WAVE"), 0x57415645u);
    EXPECT_EQ(fourcc("fmt "), 0x666D7420u);
    EXPECT_EQ(fourcc("data"), 0x64617461u);
}

TEST(FourCc, ReversalTurnsAllFourBytesRound) {
    EXPECT_EQ(fourcc_reversed(0x57415645), 0x45564157u);
    EXPECT_EQ(fourcc_reversed(0x01020384), 0x84030201u);
}

TEST(FourCcText, ShowsTheMostSignificantByteFirstAndEndsInZero) {
    const char* text = fourcc_text(0x666D7420);
    EXPECT_STREQ(text, "fmt ");
    EXPECT_EQ(text[4], '\0');
}

TEST(FourCcText, KeepsBytesAsTheyAre) {
    const char* text = fourcc_text(0xFF00017F);
    EXPECT_EQ(static_cast<unsigned char>(text[0]), 0xFF);
    EXPECT_EQ(text[1], 0);
    EXPECT_EQ(text[2], 1);
    EXPECT_EQ(text[3], 0x7F);
}

TEST(FourCcText, TheNextCallOverwritesTheTextOfTheOneBefore) {
    const char* first = fourcc_text(fourcc("RIFF"));
    const char* second = fourcc_text(fourcc("WAVE"));
    EXPECT_EQ(first, second);
    EXPECT_STREQ(first, "WAVE");
}
