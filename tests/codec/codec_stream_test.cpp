// SPDX-License-Identifier: MIT
#include "codec/codec_stream.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>

#include "codec/codec_table.h"
#include "codec/stream_tools.h"

namespace {

constexpr std::size_t pcm_block = 1024;  // IBUFF of linear PCM
constexpr std::size_t voice_block = 320;

// Calls of an operation that a test puts into a stream.
struct Call {
    CodecStream* stream;
    const std::uint8_t* in;
    std::uint8_t* out;
    std::uint32_t count;
};
std::vector<Call> calls;
std::uint32_t operation_result;

std::uint32_t recording_operation(CodecStream& stream, const std::uint8_t* in, std::uint8_t* out, std::uint32_t count) {
    calls.push_back({&stream, in, out, count});
    return operation_result;
}

struct CountedCall {
    std::vector<int> counts;
    static int take(void* context, std::uint8_t* /*buffer*/, int count) {
        static_cast<CountedCall*>(context)->counts.push_back(count);
        return count;
    }
};

}  // namespace

TEST(CodecStream, RecordHoldsItsFieldsInTheirOrder) {
    const std::size_t offsets[] = {offsetof(CodecStream, name),          offsetof(CodecStream, flags),
                                   offsetof(CodecStream, block_bytes),   offsetof(CodecStream, input_format),
                                   offsetof(CodecStream, output_format), offsetof(CodecStream, encode),
                                   offsetof(CodecStream, decode),        offsetof(CodecStream, io),
                                   offsetof(CodecStream, io_context),    offsetof(CodecStream, ibuff),
                                   offsetof(CodecStream, read_cursor),   offsetof(CodecStream, obuff),
                                   offsetof(CodecStream, write_cursor),  offsetof(CodecStream, ibuff_bytes),
                                   offsetof(CodecStream, obuff_bytes),   offsetof(CodecStream, last_read),
                                   offsetof(CodecStream, output_count),  offsetof(CodecStream, bytes_left),
                                   offsetof(CodecStream, space_left),    offsetof(CodecStream, codec_private)};
    EXPECT_TRUE(std::ranges::is_sorted(offsets));
    const std::size_t format_offsets[] = {offsetof(PcmFormat, channels), offsetof(PcmFormat, bits_per_sample),
                                          offsetof(PcmFormat, sample_rate)};
    EXPECT_TRUE(std::ranges::is_sorted(format_offsets));
}

TEST(CodecStreamCreate, NewStreamIsEmpty) {
    const StreamPtr stream = new_stream(linear_pcm, mode_encode);
    EXPECT_EQ(stream->flags, 0);
    EXPECT_EQ(stream->io, nullptr);
    EXPECT_EQ(stream->io_context, nullptr);
    EXPECT_EQ(stream->read_cursor, nullptr);
    EXPECT_EQ(stream->write_cursor, nullptr);
    EXPECT_EQ(stream->last_read, 0);
    EXPECT_EQ(stream->output_count, 0);
    EXPECT_EQ(stream->bytes_left, 0);
    EXPECT_EQ(stream->space_left, 0);
}

TEST(CodecStreamCreate, NameIsTheRowsOwnText) {
    const StreamPtr stream = new_stream(linear_pcm, mode_encode);
    EXPECT_EQ(stream->name, codec_table[0].name);
}

TEST(CodecStreamCreate, FormatIsCopiedToBothSides) {
    PcmFormat format = {2, 24, 44100};
    const StreamPtr stream = new_stream(linear_pcm, mode_encode, 0, nullptr, format);
    format = {};
    for (const PcmFormat& copy : {stream->input_format, stream->output_format}) {
        EXPECT_EQ(copy.channels, 2);
        EXPECT_EQ(copy.bits_per_sample, 24);
        EXPECT_EQ(copy.sample_rate, 44100u);
    }
}

TEST(CodecStreamCreate, OnlyTheBitsOfTheOutputFormatChange) {
    for (const std::uint32_t tag : {g711_alaw, g711_ulaw, ima_adpcm, gsm0610}) {
        for (const int mode : {mode_encode, mode_decode}) {
            const StreamPtr stream = new_stream(tag, mode, 0, nullptr, {3, 12, 11025});
            EXPECT_EQ(stream->input_format.channels, 3);
            EXPECT_EQ(stream->input_format.bits_per_sample, 12);
            EXPECT_EQ(stream->input_format.sample_rate, 11025u);
            EXPECT_EQ(stream->output_format.channels, 3);
            EXPECT_NE(stream->output_format.bits_per_sample, 12);
            EXPECT_EQ(stream->output_format.sample_rate, 11025u);
        }
    }
}

TEST(CodecStreamCreate, BlockSizeIsStoredAsAsked) {
    EXPECT_EQ(new_stream(linear_pcm, mode_encode, -7)->block_bytes, -7);
    EXPECT_EQ(new_stream(ima_adpcm, mode_encode, 256)->block_bytes, 256);
}

TEST(CodecStreamCreate, EveryModeButOneDecodes) {
    for (const int mode : {0, 2, -1, 256, 0x10001}) EXPECT_EQ(new_stream(g711_alaw, mode)->ibuff_bytes, 1024) << mode;
    EXPECT_EQ(new_stream(g711_alaw, 1)->ibuff_bytes, 2048);
}

TEST(CodecStreamCreate, BuffersStartAsZeroes) {
    for (const std::uint32_t tag : {linear_pcm, g711_alaw, g711_ulaw, ima_adpcm, gsm0610}) {
        for (const int mode : {mode_encode, mode_decode}) {
            const StreamPtr stream = new_stream(tag, mode);
            const int room = std::max(stream->ibuff_bytes, stream->obuff_bytes);
            EXPECT_EQ(std::count(stream->ibuff, stream->ibuff + stream->ibuff_bytes, 0), stream->ibuff_bytes);
            if (stream->obuff_bytes > 0) {
                EXPECT_EQ(std::count(stream->obuff, stream->obuff + room, 0), room);
            }
        }
    }
}

TEST(CodecStreamWrite, ExactlyOneBlockHandsNothingOn) {
    const StreamPtr stream = new_stream(linear_pcm, mode_encode);
    BlockSink sink;
    sink.attach(*stream);
    write_to(*stream, counting_bytes(pcm_block));
    EXPECT_TRUE(sink.blocks.empty());
    EXPECT_EQ(stream->space_left, 0);
    EXPECT_EQ(stream->write_cursor, stream->ibuff + pcm_block);
}

TEST(CodecStreamWrite, OneByteMoreThanABlockHandsOneBlockOn) {
    const StreamPtr stream = new_stream(linear_pcm, mode_encode);
    BlockSink sink;
    sink.attach(*stream);
    const Bytes data = counting_bytes(pcm_block + 1);
    write_to(*stream, data);
    ASSERT_EQ(sink.blocks.size(), 1u);
    EXPECT_EQ(sink.blocks[0], slice(data, 0, pcm_block));
    EXPECT_EQ(stream->space_left, 1023);
    EXPECT_EQ(stream->write_cursor, stream->ibuff + 1);
    EXPECT_EQ(stream->output_count, 1024);
}

TEST(CodecStreamWrite, VoiceBlocksGoOutWithTheFourthTheSeventhTheTenth) {
    // 1024 bytes are full after 3.2 voice blocks, 2048 after 6.4, 3072 after 9.6, 4096 after 12.8, 5120 after 16.
    const StreamPtr stream = new_stream(linear_pcm, mode_encode);
    BlockSink sink;
    sink.attach(*stream);
    std::vector<int> emitting;
    for (int block = 1; block <= 17; ++block) {
        const std::size_t before = sink.blocks.size();
        write_to(*stream, Bytes(voice_block, static_cast<std::uint8_t>(block)));
        if (sink.blocks.size() != before) emitting.push_back(block);
    }
    EXPECT_EQ(emitting, (std::vector<int>{4, 7, 10, 13, 17}));
}

TEST(CodecStreamWrite, CountOfZeroOrLessDoesNothing) {
    const StreamPtr stream = new_stream(linear_pcm, mode_encode);
    BlockSink sink;
    sink.attach(*stream);
    codec_stream_write(stream.get(), nullptr, 0);
    codec_stream_write(stream.get(), nullptr, -1);
    EXPECT_EQ(stream->write_cursor, nullptr);
    EXPECT_EQ(stream->space_left, 0);

    write_to(*stream, counting_bytes(pcm_block));
    codec_stream_write(stream.get(), nullptr, 0);
    EXPECT_TRUE(sink.blocks.empty());
}

TEST(CodecStreamWrite, FirstByteOpensTheFirstBlockWithoutHandingOn) {
    const StreamPtr stream = new_stream(linear_pcm, mode_encode);
    BlockSink sink;
    sink.attach(*stream);
    write_to(*stream, {0x5A});
    EXPECT_TRUE(sink.blocks.empty());
    EXPECT_EQ(stream->space_left, 1023);
    EXPECT_EQ(stream->ibuff[0], 0x5A);
}

TEST(CodecStreamWrite, PassThroughHandsIbuffItselfToTheCallback) {
    const StreamPtr stream = new_stream(linear_pcm, mode_encode);
    BlockSink sink;
    sink.attach(*stream);
    write_to(*stream, counting_bytes(pcm_block + 1));
    EXPECT_EQ(sink.buffers, std::vector<const std::uint8_t*>{stream->ibuff});
}

TEST(CodecStreamWrite, EncodeGetsTheWholeBlockAndItsResultIsHandedOn) {
    const StreamPtr stream = new_stream(g711_alaw, mode_encode);
    CountedCall sink;
    stream->io = CountedCall::take;
    stream->io_context = &sink;
    stream->encode = recording_operation;
    calls.clear();
    operation_result = 77;
    write_to(*stream, counting_bytes(2049));

    ASSERT_EQ(calls.size(), 1u);
    EXPECT_EQ(calls[0].stream, stream.get());
    EXPECT_EQ(calls[0].in, stream->ibuff);
    EXPECT_EQ(calls[0].out, stream->obuff);
    EXPECT_EQ(calls[0].count, 2048u);
    EXPECT_EQ(stream->output_count, 77);
    EXPECT_EQ(sink.counts, std::vector<int>{77});
}

TEST(CodecStreamWrite, EncodedBlockComesFromObuff) {
    const StreamPtr stream = new_stream(g711_alaw, mode_encode);
    BlockSink sink;
    sink.attach(*stream);
    write_to(*stream, Bytes(2049));
    EXPECT_EQ(sink.buffers, std::vector<const std::uint8_t*>{stream->obuff});
}

TEST(CodecStreamWrite, ResultOfEncodeIsTakenAsSigned16Bits) {
    const StreamPtr stream = new_stream(g711_alaw, mode_encode);
    CountedCall sink;
    stream->io = CountedCall::take;
    stream->io_context = &sink;
    stream->encode = recording_operation;
    write_to(*stream, counting_bytes(2048));
    for (const std::uint32_t result : {0u, 0x10005u, 0xFFFFu, 0x8000u}) {
        operation_result = result;
        write_to(*stream, counting_bytes(2048));
    }
    EXPECT_EQ(sink.counts, (std::vector<int>{0, 5, -1, -32768}));
}

TEST(CodecStreamWrite, NoMoreIsHandedOnThanTheOutputBufferHolds) {
    const StreamPtr stream = new_stream(g711_alaw, mode_encode);
    CountedCall sink;
    stream->io = CountedCall::take;
    stream->io_context = &sink;
    stream->encode = recording_operation;
    operation_result = 32767;
    write_to(*stream, counting_bytes(2049));
    EXPECT_EQ(sink.counts, std::vector<int>{2048});
}

TEST(CodecStreamWrite, EncodersDoNotLookAtTheFlags) {
    for (const std::uint32_t tag : {linear_pcm, g711_alaw, g711_ulaw, ima_adpcm, gsm0610}) {
        BlockSink sinks[2];
        for (int flagged = 0; flagged < 2; ++flagged) {
            const StreamPtr stream = new_stream(tag, mode_encode);
            if (flagged != 0) stream->flags = 0xFFFF;
            sinks[flagged].attach(*stream);
            write_to(*stream, counting_bytes(9000));
            EXPECT_EQ(stream->flags, flagged != 0 ? 0xFFFF : 0);
        }
        EXPECT_FALSE(sinks[0].blocks.empty());
        EXPECT_EQ(sinks[0].blocks, sinks[1].blocks) << tag;
    }
}

TEST(CodecStreamWrite, ResultOfTheCallbackIsIgnored) {
    const StreamPtr stream = new_stream(linear_pcm, mode_encode);
    BlockSink sink;
    sink.attach(*stream);
    sink.result = -1;
    const Bytes data = counting_bytes(3 * pcm_block + 1);
    const Output output = output_of([&] { write_to(*stream, data); });
    EXPECT_EQ(sink.blocks.size(), 3u);
    EXPECT_EQ(sink.blocks[2], slice(data, 2 * pcm_block, pcm_block));
    EXPECT_EQ(output.out + output.err, "");
}

TEST(CodecStreamWrite, WhatIsLeftOfOneFileGoesOutWithTheNext) {
    const StreamPtr stream = new_stream(linear_pcm, mode_encode);
    BlockSink first_file;
    BlockSink second_file;
    const Bytes data = counting_bytes(2 * pcm_block + 1);
    first_file.attach(*stream);
    write_to(*stream, slice(data, 0, pcm_block));
    second_file.attach(*stream);
    write_to(*stream, slice(data, pcm_block, pcm_block + 1));
    EXPECT_TRUE(first_file.blocks.empty());
    EXPECT_EQ(second_file.blocks, (std::vector<Bytes>{slice(data, 0, pcm_block), slice(data, pcm_block, pcm_block)}));
}

TEST(CodecStreamWrite, EveryPieceSizeHandsOnTheSameBlocksAtTheSameByte) {
    const Bytes data = counting_bytes(5 * pcm_block + 17);
    for (int piece = 1; piece <= 2100; piece = piece < 40 ? piece + 1 : piece + 53) {
        const StreamPtr stream = new_stream(linear_pcm, mode_encode);
        BlockSink sink;
        sink.attach(*stream);
        for (std::size_t written = 0; written < data.size();) {
            const std::size_t run = std::min<std::size_t>(static_cast<std::size_t>(piece), data.size() - written);
            codec_stream_write(stream.get(), data.data() + written, static_cast<int>(run));
            written += run;
            // Block k is handed on with byte 1024 k + 1.
            ASSERT_EQ(sink.blocks.size(), (written - 1) / pcm_block) << piece;
        }
        for (std::size_t block = 0; block < sink.blocks.size(); ++block)
            ASSERT_EQ(sink.blocks[block], slice(data, block * pcm_block, pcm_block)) << piece;
    }
}

TEST(CodecStreamRead, CountOfZeroOrLessReturnsZeroWithoutACall) {
    const StreamPtr stream = new_stream(linear_pcm, mode_decode);
    BlockSource source;
    source.attach(*stream);
    EXPECT_EQ(codec_stream_read(stream.get(), nullptr, 0), 0);
    EXPECT_EQ(codec_stream_read(stream.get(), nullptr, -1), 0);
    EXPECT_TRUE(source.asked.empty());
}

TEST(CodecStreamRead, EndAtOnceReturnsZero) {
    const StreamPtr stream = new_stream(linear_pcm, mode_decode);
    BlockSource source;
    source.attach(*stream);
    std::uint8_t byte = 0xEE;
    EXPECT_EQ(codec_stream_read(stream.get(), &byte, 1), 0);
    EXPECT_EQ(byte, 0xEE);
    EXPECT_EQ(stream->last_read, 0);
    EXPECT_EQ(stream->read_cursor, stream->ibuff);
    EXPECT_EQ(source.asked, std::vector<int>{1024});
}

TEST(CodecStreamRead, ShortPieceIsHandedOnAndTheCallbackCalledAgain) {
    const StreamPtr stream = new_stream(linear_pcm, mode_decode);
    BlockSource source;
    source.pieces = {bytes({1, 2, 3}), bytes({4}), bytes({5, 6})};
    source.attach(*stream);
    EXPECT_EQ(read_from(*stream, 5), bytes({1, 2, 3, 4, 5}));
    EXPECT_EQ(source.asked, (std::vector<int>{1024, 1024, 1024}));
    EXPECT_EQ(stream->last_read, 2);
    EXPECT_EQ(stream->bytes_left, 1);
}

TEST(CodecStreamRead, RestOfABlockIsDeliveredByTheNextRead) {
    const StreamPtr stream = new_stream(linear_pcm, mode_decode);
    BlockSource source;
    source.pieces = {bytes({1, 2, 3, 4})};
    source.attach(*stream);
    EXPECT_EQ(read_from(*stream, 1), bytes({1}));
    EXPECT_EQ(read_from(*stream, 2), bytes({2, 3}));
    EXPECT_EQ(source.asked.size(), 1u);
    EXPECT_EQ(read_from(*stream, 9), bytes({4}));
}

TEST(CodecStreamRead, ExactlyTheBlockIsReadWithoutAskingForMore) {
    const StreamPtr stream = new_stream(linear_pcm, mode_decode);
    BlockSource source;
    source.pieces = {bytes({1, 2})};
    source.attach(*stream);
    EXPECT_EQ(read_from(*stream, 2), bytes({1, 2}));
    EXPECT_EQ(source.asked.size(), 1u);
}

TEST(CodecStreamRead, EndInTheMiddleReturnsTheBytesSoFar) {
    const StreamPtr stream = new_stream(linear_pcm, mode_decode);
    BlockSource source;
    source.pieces = {bytes({1, 2})};
    source.attach(*stream);
    EXPECT_EQ(read_from(*stream, 3), bytes({1, 2}));
    source.pieces = {bytes({3})};
    EXPECT_EQ(read_from(*stream, 1), bytes({3}));
}

TEST(CodecStreamRead, ErrorPrintsItsMessageAndReturnsMinusOne) {
    const StreamPtr stream = new_stream(linear_pcm, mode_decode);
    BlockSource source;
    source.last_result = -5;
    source.attach(*stream);
    std::uint8_t byte = 0;
    int result = 0;
    const Output output = output_of([&] { result = codec_stream_read(stream.get(), &byte, 1); });
    EXPECT_EQ(result, -1);
    EXPECT_EQ(output.out, "");
    EXPECT_EQ(output.err, "I/O error during READ DATA !\n");
    EXPECT_EQ(stream->last_read, -5);
}

TEST(CodecStreamRead, ErrorAfterSomeBytesStillReturnsMinusOne) {
    const StreamPtr stream = new_stream(linear_pcm, mode_decode);
    BlockSource source;
    source.pieces = {bytes({1, 2})};
    source.last_result = -1;
    source.attach(*stream);
    std::uint8_t buffer[4] = {};
    int result = 0;
    const Output output = output_of([&] { result = codec_stream_read(stream.get(), buffer, 4); });
    EXPECT_EQ(result, -1);
    EXPECT_EQ(output.err, "I/O error during READ DATA !\n");
}

TEST(CodecStreamRead, ErrorBelowSixteenBitsIsAnError) {
    // -65536 has sixteen zero bits at its end: as a 16-bit number it would be the end of the input.
    const StreamPtr stream = new_stream(linear_pcm, mode_decode);
    BlockSource source;
    source.last_result = -65536;
    source.attach(*stream);
    std::uint8_t byte = 0;
    int result = 0;
    output_of([&] { result = codec_stream_read(stream.get(), &byte, 1); });
    EXPECT_EQ(result, -1);
    EXPECT_LT(stream->last_read, 0);
}

TEST(CodecStreamRead, CallbackThatClaimsTooMuchGivesOneBlock) {
    for (const int claim : {1025, 32768, 65536, INT32_MAX}) {
        const StreamPtr stream = new_stream(linear_pcm, mode_decode);
        BlockSource source;
        source.last_result = claim;
        source.attach(*stream);
        EXPECT_EQ(read_from(*stream, 1).size(), 1u);
        EXPECT_EQ(stream->last_read, 1024) << claim;
        EXPECT_EQ(stream->bytes_left, 1023) << claim;
    }
}

TEST(CodecStreamRead, DecodeGetsTheBytesThatCameAndObuffIsDelivered) {
    const StreamPtr stream = new_stream(g711_alaw, mode_decode);
    BlockSource source;
    source.pieces = {counting_bytes(10)};
    source.attach(*stream);
    stream->decode = recording_operation;
    stream->obuff[0] = 0xAB;
    stream->obuff[1] = 0xCD;
    calls.clear();
    operation_result = 2;
    EXPECT_EQ(read_from(*stream, 2), bytes({0xAB, 0xCD}));

    ASSERT_EQ(calls.size(), 1u);
    EXPECT_EQ(calls[0].stream, stream.get());
    EXPECT_EQ(calls[0].in, stream->ibuff);
    EXPECT_EQ(calls[0].out, stream->obuff);
    EXPECT_EQ(calls[0].count, 10u);
    EXPECT_EQ(stream->last_read, 10);
    EXPECT_EQ(stream->read_cursor, stream->obuff + 2);
    EXPECT_EQ(source.asked, std::vector<int>{1024});
}

TEST(CodecStreamRead, BlockThatDecodesToNothingTakesMoreInput) {
    const StreamPtr stream = new_stream(g711_alaw, mode_decode);
    BlockSource source;
    source.pieces = {counting_bytes(10), counting_bytes(10)};
    source.attach(*stream);
    stream->decode = recording_operation;
    operation_result = 0;
    EXPECT_EQ(read_from(*stream, 1), Bytes{});
    EXPECT_EQ(source.asked.size(), 3u);
}

TEST(CodecStreamRead, NoMoreIsDeliveredThanTheOutputBufferHolds) {
    const StreamPtr stream = new_stream(g711_alaw, mode_decode);
    BlockSource source;
    source.pieces = {counting_bytes(10)};
    source.attach(*stream);
    stream->decode = recording_operation;
    operation_result = 32767;
    EXPECT_EQ(read_from(*stream, 5000).size(), 2048u);
}
