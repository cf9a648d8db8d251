// SPDX-License-Identifier: MIT
// How a creation finds its row and what it does around the init, with a table that is built to tell the steps apart.
#include <gtest/gtest.h>

#include "codec/codec_table.h"
#include "support/capture.h"
#include "support/stream_release.h"

namespace {

constexpr PcmFormat stereo_pcm = {2, 24, 44100};

// What the init that ran last was given.
struct InitCall {
    CodecStream stream;
    int mode;
};
InitCall init_call;

int init_with_ibuff_alone(CodecStream& stream, int mode) {
    init_call = {stream, mode};
    stream.ibuff_bytes = 3;
    stream.obuff_bytes = -1;
    return 0;
}

int init_with_a_positive_result(CodecStream& stream, int mode) {
    init_with_ibuff_alone(stream, mode);
    return 1;
}

std::int16_t ibuff_bytes_to_give = 0;

int init_with_odd_ibuff(CodecStream& stream, int mode) {
    init_call = {stream, mode};
    stream.ibuff_bytes = ibuff_bytes_to_give;
    return 0;
}

int init_that_refuses(CodecStream& stream, int mode) {
    init_call = {stream, mode};
    stream.ibuff_bytes = 100;
    return -2;
}

StreamPtr created(std::uint32_t tag, int mode = 1, std::int16_t block_bytes = 0) {
    init_call = {};
    CodecStream* stream = nullptr;
    const Output output = output_of([&] { stream = codec_stream_create(tag, mode, &stereo_pcm, block_bytes); });
    EXPECT_EQ(output.out + output.err, "");
    return StreamPtr(stream);
}

}  // namespace

// clang-format off
const CodecEntry codec_table[] = {
    {0x0009, "first",          nullptr},
    {0x0001, "one, not first", init_with_ibuff_alone},
    {0x0003, "three",          init_with_ibuff_alone},
    {0x0002, "two",            nullptr},
    {0x0002, "two again",      init_with_ibuff_alone},
    {0x0003, "three again",    init_that_refuses},
    {0x0005, "five",           init_that_refuses},
    {0x0009, "nine",           init_with_ibuff_alone},
    {0x000A, "ten",            init_with_a_positive_result},
    {0x000B, "eleven",         init_with_odd_ibuff},
    {0,      nullptr,          nullptr},
    {0x0004, "behind the end", init_with_ibuff_alone},
};
// clang-format on

TEST(CodecRows, TagOneIsTheFirstRowWhateverItsTag) {
    EXPECT_EQ(created(1), nullptr);
    EXPECT_EQ(init_call.stream.name, nullptr);
}

TEST(CodecRows, FirstRowIsNotSearched) {
    const StreamPtr stream = created(9);
    ASSERT_NE(stream, nullptr);
    EXPECT_EQ(stream->name, codec_table[7].name);
}

TEST(CodecRows, FirstOfTwoRowsWithATagWins) {
    const StreamPtr stream = created(3);
    ASSERT_NE(stream, nullptr);
    EXPECT_EQ(stream->name, codec_table[2].name);
}

TEST(CodecRows, RowWithoutACodecAndTheRowWithoutANameEndTheSearch) {
    for (const std::uint32_t tag : {2u, 4u, 0u}) EXPECT_EQ(created(tag), nullptr) << tag;
}

TEST(CodecRows, InitFindsNameFormatsAndBlockSizeInAStreamOfZeroes) {
    created(3, 7, -300);
    EXPECT_EQ(init_call.mode, 7);

    EXPECT_STREQ(init_call.stream.name, "three");
    EXPECT_EQ(init_call.stream.block_bytes, -300);
    for (const PcmFormat& format : {init_call.stream.input_format, init_call.stream.output_format}) {
        EXPECT_EQ(format.channels, 2);
        EXPECT_EQ(format.bits_per_sample, 24);
        EXPECT_EQ(format.sample_rate, 44100u);
    }
    EXPECT_EQ(init_call.stream.flags, 0);
    EXPECT_EQ(init_call.stream.encode, nullptr);
    EXPECT_EQ(init_call.stream.decode, nullptr);
    EXPECT_EQ(init_call.stream.ibuff_bytes, 0);
    EXPECT_EQ(init_call.stream.obuff_bytes, 0);
    EXPECT_EQ(init_call.stream.codec_private, nullptr);
}

TEST(CodecRows, InitThatRefusesGivesNullWithoutAnotherMessage) {
    EXPECT_EQ(created(5), nullptr);
    EXPECT_STREQ(init_call.stream.name, "five");
}

TEST(CodecRows, OnlyANegativeResultOfAnInitIsAFailure) {
    EXPECT_NE(created(10), nullptr);
}

TEST(CodecRows, IbuffWithoutASizeIsRefused) {
    for (const int bytes : {0, -1, -32768}) {
        ibuff_bytes_to_give = static_cast<std::int16_t>(bytes);
        EXPECT_EQ(created(11), nullptr) << bytes;
        EXPECT_STREQ(init_call.stream.name, "eleven");
    }
    ibuff_bytes_to_give = 1;
    EXPECT_NE(created(11), nullptr);
}

TEST(CodecRows, ObuffOfZeroOrLessIsNoBuffer) {
    const StreamPtr stream = created(3);
    ASSERT_NE(stream, nullptr);
    EXPECT_NE(stream->ibuff, nullptr);
    EXPECT_EQ(stream->obuff, nullptr);
}
