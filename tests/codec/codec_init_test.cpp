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

TEST(CodecInit, EncoderTakesSamplesAndFillsCodes) {
    const CodecStream stream = finished(codec_mode_encode);
    EXPECT_EQ(stream.ibuff_bytes, 600);
    EXPECT_EQ(stream.obuff_bytes, 50);
    EXPECT_EQ(stream.output_format.bits_per_sample, 3);
}

TEST(CodecInit, DecoderTakesCodesAndFillsSamplesOf16Bits) {
    for (const int mode : {0, 2, -1}) {
        const CodecStream stream = finished(mode);
        EXPECT_EQ(stream.ibuff_bytes, 50);
        EXPECT_EQ(stream.obuff_bytes, 600);
        EXPECT_EQ(stream.output_format.bits_per_sample, 16);
    }
}

TEST(CodecInit, BothOperationsAreSetWhateverTheMode) {
    for (const int mode : {codec_mode_encode, 0}) {
        const CodecStream stream = finished(mode);
        EXPECT_EQ(stream.encode, some_encode);
        EXPECT_EQ(stream.decode, some_decode);
    }
}

TEST(CodecInit, NothingElseOfTheFormatsChanges) {
    const CodecStream stream = finished(codec_mode_encode);
    EXPECT_EQ(stream.input_format.bits_per_sample, 24);
    EXPECT_EQ(stream.output_format.channels, 2);
    EXPECT_EQ(stream.output_format.sample_rate, 44100u);
}

TEST(CodecInit, LineNamesTheCodecAndShowsTheInputFormat) {
    CodecStream stream = finished(codec_mode_encode);
    stream.input_format = {6, 20, 96000};
    const Output output = output_of([&] { codec_print_line(stream); });
    EXPECT_EQ(output.out, "CODEC 'some codec' for 6 channels at 96000 Hz with 20 bits per sample.\n");
    EXPECT_EQ(output.err, "");
}

TEST(CodecInit, SampleRateIsPrintedAsALongNumber) {
    CodecStream stream = finished(codec_mode_encode);
    stream.input_format = {1, 16, 3000000000ul};
    EXPECT_EQ(output_of([&] { codec_print_line(stream); }).out,
              "CODEC 'some codec' for 1 channels at 3000000000 Hz with 16 bits per sample.\n");
}
