// SPDX-License-Identifier: MIT
#include "codec/codec_init.h"

#include <gtest/gtest.h>

#include "codec/stream_tools.h"
#include "support/capture.h"

namespace {

std::uint32_t some_encode(CodecStream&, const std::uint8_t*, std::uint8_t*, std::uint32_t) {
    return 1;
}

std::uint32_t some_decode(CodecStream&, const std::uint8_t*, std::uint8_t*, std::uint32_t) {
    return 2;
}

constexpr CodecShape some_shape = {
    .encode = some_encode, .decode = some_decode, .pcm_bytes = 600, .coded_bytes = 50, .coded_bits = 3};

CodecStream finished(int mode) {
    CodecStream stream = {};
    stream.name = "some codec";
    stream.input_format = {2, 24, 44100};
    stream.output_format = {2, 24, 44100};
    EXPECT_EQ(codec_finish_init(stream, mode, some_shape), 0);
    return stream;
}

}  // namespace

TEST(CodecInit, EncoderTakesSamplesAndFillsCodesAndADecoderTheOtherWayRound) {
    const struct {
        int mode;
        int ibuff_bytes, obuff_bytes, output_bits;
    } rows[] = {
        {codec_mode_encode, 600, 50,  3 },
        {0,                 50,  600, 16},
        {2,                 50,  600, 16},
        {-1,                50,  600, 16},
    };
    for (const auto& row : rows) {
        const CodecStream stream = finished(row.mode);
        EXPECT_EQ(stream.ibuff_bytes, row.ibuff_bytes) << row.mode;
        EXPECT_EQ(stream.obuff_bytes, row.obuff_bytes) << row.mode;
        EXPECT_EQ(stream.output_format.bits_per_sample, row.output_bits) << row.mode;
        EXPECT_EQ(stream.encode, some_encode) << "whatever the mode";
        EXPECT_EQ(stream.decode, some_decode) << "whatever the mode";
    }
}

TEST(CodecInit, NothingElseOfTheFormatsChanges) {
    const CodecStream stream = finished(codec_mode_encode);
    EXPECT_EQ(stream.input_format.bits_per_sample, 24);
    EXPECT_EQ(stream.output_format.channels, 2);
    EXPECT_EQ(stream.output_format.sample_rate, 44100u);
}

// The sample rate is a long number.
TEST(CodecInit, LineNamesTheCodecAndShowsTheInputFormat) {
    CodecStream stream = finished(codec_mode_encode);
    stream.input_format = {6, 20, 3000000000ul};
    const Output output = output_of([&] { codec_print_line(stream); });
    EXPECT_EQ(output.out, "CODEC 'some codec' for 6 channels at 3000000000 Hz with 20 bits per sample.\n");
    EXPECT_EQ(output.err, "");
}
