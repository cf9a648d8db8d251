// SPDX-License-Identifier: MIT
#include "codec/linear_pcm.h"

#include <gtest/gtest.h>

#include "codec/stream_tools.h"

TEST(LinearPcm, EveryModeAndBlockSizeHasABlockOf1024BytesAndNoOutputBuffer) {
    for (const int mode : {mode_encode, mode_decode, 2, -1}) {
        const StreamPtr stream = new_stream(linear_pcm, mode, 32767);
        EXPECT_EQ(stream->ibuff_bytes, 1024);
        EXPECT_EQ(stream->obuff_bytes, 0);
        EXPECT_NE(stream->ibuff, nullptr);
        EXPECT_EQ(stream->obuff, nullptr);
        EXPECT_EQ(stream->encode, nullptr);
        EXPECT_EQ(stream->decode, nullptr);
        EXPECT_EQ(stream->codec_private, nullptr);
    }
}

TEST(LinearPcm, StreamOfAnotherCodecLosesItsOperations) {
    const StreamPtr stream = new_stream(g711_ulaw, mode_decode);
    ASSERT_NE(stream->encode, nullptr);
    ASSERT_NE(stream->decode, nullptr);
    EXPECT_EQ(linear_pcm_init(*stream, mode_decode), 0);
    EXPECT_EQ(stream->encode, nullptr);
    EXPECT_EQ(stream->decode, nullptr);
}

TEST(LinearPcm, BytesAreReadUnchanged) {
    const StreamPtr stream = new_stream(linear_pcm, mode_decode);
    const Bytes data = counting_bytes(2000);
    BlockSource source(stream, {slice(data, 0, 1024), slice(data, 1024, 976)});
    EXPECT_EQ(read_from(*stream, 5000), data);
}
