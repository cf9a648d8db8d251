// SPDX-License-Identifier: MIT
#include "codec/codec_table.h"

#include <gtest/gtest.h>

#include <cstdlib>

#include "codec/stream_tools.h"

namespace {

struct ExpectedRow {
    std::uint16_t tag;
    const char* name;
    bool supported;
};

constexpr ExpectedRow expected_rows[] = {
    {0x0001, "Linear PCM",    true },
    {0x0002, "MS ADPCM",      false},
    {0x0006, "G.711 A-LAW",   true },
    {0x0007, "G.711 U-LAW",   true },
    {0x0011, "IMA ADPCM",     true },
    {0x0016, "G.723 (ADPCM)", false},
    {0x0031, "GSM 06.10",     true },
    {0x0040, "G.721 (ADPCM)", false},
    {0x0050, "MPEG",          false},
    {0x0055, "MP3",           false},
    {0x0133, "G.729",         false},
};

bool is_supported(std::uint32_t tag) {
    for (const ExpectedRow& row : expected_rows)
        if (row.tag == tag) return row.supported;
    return false;
}

StreamPtr stream_before_init(const CodecEntry& row) {
    StreamPtr stream(static_cast<CodecStream*>(std::calloc(1, sizeof(CodecStream))));
    stream->name = row.name;
    return stream;
}

}  // namespace

TEST(CodecTable, RowsStandInTheOrderOfTheirTags) {
    const CodecEntry* row = codec_table;
    for (const ExpectedRow& expected : expected_rows) {
        ASSERT_NE(row->name, nullptr);
        EXPECT_EQ(row->tag, expected.tag);
        EXPECT_STREQ(row->name, expected.name);
        EXPECT_EQ(row->init != nullptr, expected.supported) << expected.name;
        ++row;
    }
    EXPECT_EQ(row->name, nullptr);
}

TEST(CodecTable, EveryTagOf16BitsCreatesAStreamOrIsRefusedInSilence) {
    int supported = 0;
    for (std::uint32_t tag = 0; tag <= 0xFFFF; ++tag) {
        if (is_supported(tag)) {
            EXPECT_NE(new_stream(tag, mode_encode), nullptr) << tag;
            ++supported;
            continue;
        }
        ASSERT_EQ(codec_stream_create(tag, mode_encode, &telephone_pcm, 0), nullptr) << tag;
    }
    EXPECT_EQ(supported, 5);
}

TEST(CodecTable, ListedTagWithoutACodecGivesNullWithoutAMessage) {
    Output output;
    EXPECT_EQ(new_stream(0x0002, mode_encode, 0, &output), nullptr);
    EXPECT_EQ(output.out, "");
    EXPECT_EQ(output.err, "");
}

TEST(CodecTable, UnlistedTagGivesNullWithoutAMessage) {
    Output output;
    EXPECT_EQ(new_stream(0x1234, mode_encode, 0, &output), nullptr);
    EXPECT_EQ(output.out, "");
    EXPECT_EQ(output.err, "");
}

TEST(CodecTable, TagOfTheEndRowIsNotFound) {
    EXPECT_EQ(new_stream(0, mode_encode), nullptr);
}

TEST(CodecTable, TagIsComparedInAllItsBits) {
    EXPECT_EQ(new_stream(0x10001, mode_encode), nullptr);
    EXPECT_EQ(new_stream(0x10006, mode_encode), nullptr);
    EXPECT_EQ(new_stream(0x80000011, mode_encode), nullptr);
}

TEST(CodecTable, EveryInitReturnsZero) {
    for (const CodecEntry* row = codec_table; row->name != nullptr; ++row) {
        if (row->init == nullptr) continue;
        for (const int mode : {mode_encode, mode_decode}) {
            const StreamPtr stream = stream_before_init(*row);
            output_of([&] { EXPECT_EQ(row->init(*stream, mode), 0) << row->name; });
        }
    }
}

TEST(CodecTable, EveryCodecPrintsItsLineOnceOnStandardOutput) {
    for (const ExpectedRow& row : expected_rows) {
        if (!row.supported) continue;
        for (const int mode : {mode_encode, mode_decode}) {
            Output output;
            ASSERT_NE(new_stream(row.tag, mode, 0, &output), nullptr);
            EXPECT_EQ(output.out,
                      std::string("CODEC '") + row.name + "' for 1 channels at 8000 Hz with 16 bits per sample.\n");
            EXPECT_EQ(output.err, "");
        }
    }
}

TEST(CodecTable, FiveFormatsHaveANameOnTheCommandLine) {
    const std::pair<const char*, std::uint16_t> options[] = {
        {"pcm",   1 },
        {"ulaw",  7 },
        {"alaw",  6 },
        {"adpcm", 17},
        {"gsm",   49},
    };
    for (const auto& [option, tag] : options) {
        const CodecEntry* row = codec_by_option(option);
        ASSERT_NE(row, nullptr) << option;
        EXPECT_EQ(row->tag, tag) << option;
    }
    int offered = 0;
    for (const CodecEntry* row = codec_table; row->name != nullptr; row++) offered += row->option != nullptr;
    EXPECT_EQ(offered, 5);
}

TEST(CodecTable, NameOnTheCommandLineIsComparedInAllItsLetters) {
    for (const char* option : {"", "PCM", "pc", "pcm ", "Linear PCM", "mp3"}) {
        EXPECT_EQ(codec_by_option(option), nullptr) << option;
    }
}

TEST(CodecTable, EveryFormatOfTheCommandLineHasACodec) {
    for (const CodecEntry* row = codec_table; row->name != nullptr; row++) {
        EXPECT_TRUE(row->option == nullptr || row->init != nullptr) << row->name;
    }
}

TEST(CodecTable, LineShowsTheInputFormatWhateverTheOutputHas) {
    for (const CodecEntry* row = codec_table; row->name != nullptr; ++row) {
        if (row->init == nullptr) continue;
        const StreamPtr stream = stream_before_init(*row);
        stream->input_format = {2, 24, 44100};
        stream->output_format = {1, 8, 8000};
        EXPECT_EQ(output_of([&] { row->init(*stream, mode_encode); }).out,
                  std::string("CODEC '") + row->name + "' for 2 channels at 44100 Hz with 24 bits per sample.\n");
    }
}
