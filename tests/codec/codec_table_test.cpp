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

TEST(CodecTable, TagThatIsListedWithoutACodecUnlistedOrWiderThan16BitsGivesNullWithoutAMessage) {
    for (const std::uint32_t tag : {0x0002u, 0x1234u, 0u, 0x10001u, 0x10006u, 0x80000011u}) {
        Output output;
        EXPECT_EQ(new_stream(tag, mode_encode, 0, &output), nullptr) << tag;
        EXPECT_EQ(output.out + output.err, "");
    }
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

// Block sizes that are not IMA ADPCM's are ignored; below 1 its default holds. Its PCM must fit 16 bits: 4 x 8191 =
// 32764 does, 4 x 8192 does not.
TEST(CodecTable, EveryCodecReportsItsSizesAndBits) {
    const struct {
        std::uint32_t tag;
        std::vector<std::int16_t> all_block_bytes;
        int pcm_bytes, coded_bytes, coded_bits;  // of a block
    } rows[] = {
        {g711_alaw, {0, 12, 32767},        2048,     1024, 8},
        {g711_ulaw, {0, 12, 32767},        2048,     1024, 8},
        {ima_adpcm, {0, -1, -32768, 1024}, 4096,     1024, 4},
        {ima_adpcm, {1},                   4,        1,    4},
        {ima_adpcm, {2},                   8,        2,    4},
        {ima_adpcm, {255},                 4 * 255,  255,  4},
        {ima_adpcm, {256},                 4 * 256,  256,  4},
        {ima_adpcm, {8191},                4 * 8191, 8191, 4},
        {gsm0610,   {0, 130},              640,      65,   0},
    };
    for (const auto& row : rows) {
        for (const std::int16_t block_bytes : row.all_block_bytes) {
            const StreamPtr encoder = new_stream(row.tag, mode_encode, block_bytes);
            EXPECT_EQ(encoder->block_bytes, block_bytes);
            EXPECT_EQ(encoder->ibuff_bytes, row.pcm_bytes);
            EXPECT_EQ(encoder->obuff_bytes, row.coded_bytes);
            EXPECT_EQ(encoder->input_format.bits_per_sample, 16);
            EXPECT_EQ(encoder->output_format.bits_per_sample, row.coded_bits);
            for (const int mode : {mode_decode, 2, -1}) {
                const StreamPtr decoder = new_stream(row.tag, mode, block_bytes);
                EXPECT_EQ(decoder->ibuff_bytes, row.coded_bytes);
                EXPECT_EQ(decoder->obuff_bytes, row.pcm_bytes);
                EXPECT_EQ(decoder->output_format.bits_per_sample, 16);
                EXPECT_EQ(decoder->encode, encoder->encode);
                EXPECT_EQ(decoder->decode, encoder->decode);
                EXPECT_NE(decoder->encode, nullptr);
                EXPECT_NE(decoder->decode, nullptr);
            }
        }
    }
}
