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

TEST(CodecStreamWrite, FullBlockIsHandedOnWithTheByteBehindIt) {
    const Bytes data = counting_bytes(pcm_block + 1);
    const struct {
        std::size_t written;
        std::vector<Bytes> blocks;
        int space_left;
    } rows[] = {
        {1,             {},                          1023},
        {pcm_block,     {},                          0   },
        {pcm_block + 1, {slice(data, 0, pcm_block)}, 1023},
    };
    for (const auto& row : rows) {
        const StreamPtr stream = new_stream(linear_pcm, mode_encode);
        const BlockSink sink(stream);
        write_to(*stream, first_bytes(data, row.written));
        EXPECT_EQ(sink.blocks, row.blocks) << row.written;
        EXPECT_EQ(stream->space_left, row.space_left);
        EXPECT_EQ(stream->write_cursor, stream->ibuff + pcm_block - row.space_left);
        EXPECT_EQ(stream->write_cursor[-1], data[row.written - 1]);
        EXPECT_EQ(stream->output_count, row.blocks.empty() ? 0 : 1024);
    }
}

TEST(CodecStreamWrite, VoiceBlocksGoOutWithTheFourthTheSeventhTheTenth) {
    // 1024 bytes are full after 3.2 voice blocks, 2048 after 6.4, 3072 after 9.6, 4096 after 12.8, 5120 after 16.
    const StreamPtr stream = new_stream(linear_pcm, mode_encode);
    BlockSink sink(stream);
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
    BlockSink sink(stream);
    codec_stream_write(stream.get(), nullptr, 0);
    codec_stream_write(stream.get(), nullptr, -1);
    EXPECT_EQ(stream->write_cursor, nullptr);
    EXPECT_EQ(stream->space_left, 0);

    write_to(*stream, counting_bytes(pcm_block));
    codec_stream_write(stream.get(), nullptr, 0);
    EXPECT_TRUE(sink.blocks.empty());
}

TEST(CodecStreamWrite, BlockComesFromObuffOrWhereThereIsNoCodecFromIbuff) {
    const StreamPtr linear = new_stream(linear_pcm, mode_encode);
    const BlockSink linear_sink(linear);
    write_to(*linear, Bytes(2049));
    EXPECT_EQ(linear_sink.buffers, (std::vector<const std::uint8_t*>{linear->ibuff, linear->ibuff}));
    const StreamPtr coded = new_stream(g711_alaw, mode_encode);
    const BlockSink coded_sink(coded);
    write_to(*coded, Bytes(2049));
    EXPECT_EQ(coded_sink.buffers, std::vector<const std::uint8_t*>{coded->obuff});
}

TEST(CodecStreamWrite, EncodeGetsTheWholeBlockAndItsResultIsHandedOnAsSigned16BitsWithinTheBuffer) {
    const StreamPtr stream = new_stream(g711_alaw, mode_encode);
    CountedCall sink;
    stream->io = CountedCall::take;
    stream->io_context = &sink;
    stream->encode = recording_operation;
    write_to(*stream, counting_bytes(2048));
    const std::pair<std::uint32_t, int> results[] = {
        {77u,      77    },
        {0u,       0     },
        {0x10005u, 5     },
        {0xFFFFu,  -1    },
        {0x8000u,  -32768},
        {32767u,   2048  }, // what the output buffer holds
    };
    for (const auto& [result, handed_on] : results) {
        calls.clear();
        sink.counts.clear();
        operation_result = result;
        write_to(*stream, counting_bytes(2048));
        ASSERT_EQ(calls.size(), 1u);
        EXPECT_EQ(calls[0].stream, stream.get());
        EXPECT_EQ(calls[0].in, stream->ibuff);
        EXPECT_EQ(calls[0].out, stream->obuff);
        EXPECT_EQ(calls[0].count, 2048u);
        EXPECT_EQ(sink.counts, std::vector<int>{handed_on});
        if (result == 77) {
            EXPECT_EQ(stream->output_count, 77);
        }
    }
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
    BlockSink sink(stream);
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
        BlockSink sink(stream);
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
    const BlockSource source(stream);
    EXPECT_EQ(codec_stream_read(stream.get(), nullptr, 0), 0);
    EXPECT_EQ(codec_stream_read(stream.get(), nullptr, -1), 0);
    EXPECT_TRUE(source.asked.empty());
}

TEST(CodecStreamRead, PiecesAreDeliveredUntilTheCountOrTheEndAndTheirRestByTheNextRead) {
    const struct {
        std::deque<Bytes> pieces;
        std::vector<Bytes> reads;  // what comes of asking for as many bytes, the last time for one more
        std::size_t calls;         // of the callback
        int last_read, bytes_left;
    } rows[] = {
        {{},                                            {Bytes{}},                                     1, 0, 0},
        {{bytes({1, 2}), {}},                           {bytes({1, 2})},                               2, 0, 0},
        {{bytes({1, 2, 3}), bytes({4}), bytes({5})},    {bytes({1, 2, 3, 4, 5})},                      4, 0, 0},
        {{bytes({1, 2, 3, 4})},                         {bytes({1}), bytes({2, 3}), bytes({4})},       2, 0, 0},
        {{bytes({1, 2}), bytes({3, 4, 5}), bytes({6})}, {bytes({1, 2}), bytes({3}), bytes({4, 5, 6})}, 4, 0, 0},
    };
    for (const auto& row : rows) {
        const StreamPtr stream = new_stream(linear_pcm, mode_decode);
        const BlockSource source(stream, row.pieces);
        for (const Bytes& read : row.reads) {
            const int more = &read == &row.reads.back() ? 1 : 0;
            EXPECT_EQ(read_from(*stream, static_cast<int>(read.size()) + more), read);
        }
        EXPECT_EQ(source.asked, std::vector<int>(row.calls, 1024));
        EXPECT_EQ(stream->last_read, row.last_read);
        EXPECT_EQ(stream->bytes_left, row.bytes_left);
    }
}

TEST(CodecStreamRead, ExactlyTheCountIsReadWithoutAskingForMore) {
    const StreamPtr stream = new_stream(linear_pcm, mode_decode);
    BlockSource source(stream, {bytes({1, 2}), bytes({3, 4})});
    EXPECT_EQ(read_from(*stream, 2), bytes({1, 2}));
    EXPECT_EQ(source.asked.size(), 1u);
    EXPECT_EQ(read_from(*stream, 1), bytes({3}));
    EXPECT_EQ(source.asked.size(), 2u);
    EXPECT_EQ(stream->last_read, 2);
    EXPECT_EQ(stream->bytes_left, 1);
}

TEST(CodecStreamRead, ReadingGoesOnAfterAnEnd) {
    const StreamPtr stream = new_stream(linear_pcm, mode_decode);
    BlockSource source(stream);
    std::uint8_t byte = 0xEE;
    EXPECT_EQ(codec_stream_read(stream.get(), &byte, 1), 0);
    EXPECT_EQ(byte, 0xEE);
    EXPECT_EQ(stream->read_cursor, stream->ibuff);
    source.pieces = {bytes({3})};
    EXPECT_EQ(read_from(*stream, 1), bytes({3}));
}

TEST(CodecStreamRead, ErrorPrintsItsMessageAndReturnsMinusOneAlsoAfterSomeBytes) {
    // -65536 has sixteen zero bits at its end: as a 16-bit number it would be the end of the input.
    for (const int error : {-1, -5, -65536}) {
        for (const std::deque<Bytes>& pieces : {std::deque<Bytes>{}, {bytes({1, 2})}}) {
            for (const CodecOperation decode : {CodecOperation{nullptr}, CodecOperation{recording_operation}}) {
                const StreamPtr stream = new_stream(g711_alaw, mode_decode);
                stream->decode = decode;
                calls.clear();
                operation_result = 1;
                const BlockSource source(stream, pieces, error);
                std::uint8_t buffer[4] = {};
                const Output output = output_of([&] { EXPECT_EQ(codec_stream_read(stream.get(), buffer, 4), -1); });
                EXPECT_EQ(output.out, "");
                EXPECT_EQ(output.err, "I/O error during READ DATA !\n");
                EXPECT_LT(stream->last_read, 0);
                EXPECT_EQ(calls.size(), decode != nullptr ? pieces.size() : 0) << "an error is not decoded";
            }
        }
    }
}

TEST(CodecStreamRead, CallbackThatClaimsTooMuchGivesOneBlock) {
    for (const int claim : {1025, 32768, 65536, INT32_MAX}) {
        const StreamPtr stream = new_stream(linear_pcm, mode_decode);
        const BlockSource source(stream, {}, claim);
        EXPECT_EQ(read_from(*stream, 1).size(), 1u);
        EXPECT_EQ(stream->last_read, 1024) << claim;
        EXPECT_EQ(stream->bytes_left, 1023) << claim;
    }
}

TEST(CodecStreamRead, DecodeGetsTheBytesThatCameAndObuffIsDelivered) {
    const StreamPtr stream = new_stream(g711_alaw, mode_decode);
    BlockSource source(stream, {counting_bytes(10)});
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

TEST(CodecStreamRead, BlockThatDecodesToNothingOrLessTakesMoreInput) {
    for (const std::uint32_t result : {0u, 0xFFFFu, 0x8000u}) {  // 0, -1 and -32768 in 16 bits
        const StreamPtr stream = new_stream(g711_alaw, mode_decode);
        const BlockSource source(stream, {counting_bytes(10), counting_bytes(10)});
        stream->decode = recording_operation;
        operation_result = result;
        EXPECT_EQ(read_from(*stream, 1), Bytes{});
        EXPECT_EQ(source.asked.size(), 3u);
    }
}

TEST(CodecStreamRead, NoMoreIsDeliveredThanTheOutputBufferHolds) {
    const StreamPtr stream = new_stream(g711_alaw, mode_decode);
    BlockSource source(stream, {counting_bytes(10)});
    stream->decode = recording_operation;
    operation_result = 32767;
    EXPECT_EQ(read_from(*stream, 5000).size(), 2048u);
}

// --- streams that are used the wrong way round

TEST(CodecStreamRead, EncoderIsRefusedWithTheFailureOfARead) {
    for (const std::uint32_t tag : {g711_alaw, g711_ulaw, ima_adpcm, gsm0610}) {
        const StreamPtr stream = new_stream(tag, mode_encode);
        BlockSource source(stream, {Bytes(4096, 1)});
        Bytes buffer(100000, 0xEE);
        int result = 0;
        const Output output = output_of([&] { result = codec_stream_read(stream.get(), buffer.data(), 100000); });
        EXPECT_EQ(result, -1) << tag;
        EXPECT_EQ(output.err, "I/O error during READ DATA !\n") << tag;
        EXPECT_TRUE(source.asked.empty()) << tag;
        EXPECT_EQ(buffer, Bytes(100000, 0xEE)) << tag;
        EXPECT_EQ(codec_stream_read(stream.get(), buffer.data(), 0), 0) << tag;
    }
}

TEST(CodecStreamWrite, DecoderTakesNothing) {
    for (const std::uint32_t tag : {g711_alaw, g711_ulaw, ima_adpcm, gsm0610}) {
        const StreamPtr stream = new_stream(tag, mode_decode);
        const BlockSink sink(stream);
        write_to(*stream, counting_bytes(100000));
        EXPECT_TRUE(sink.blocks.empty()) << tag;
        EXPECT_EQ(stream->write_cursor, nullptr) << tag;
    }
}

TEST(CodecStream, CodecWithoutOperationsIsReadAndWrittenInEitherMode) {
    for (const int mode : {mode_encode, mode_decode}) {
        const StreamPtr stream = new_stream(linear_pcm, mode);
        const BlockSink sink(stream);
        write_to(*stream, counting_bytes(pcm_block + 1));
        EXPECT_EQ(sink.blocks.size(), 1u);
        BlockSource source(stream, {bytes({1, 2, 3})});
        EXPECT_EQ(read_from(*stream, 10), bytes({1, 2, 3}));
    }
}

// --- what a callback finds in the record

TEST(CodecStreamWrite, BlockIsStillFullWhileItIsHandedOn) {
    const StreamPtr stream = new_stream(linear_pcm, mode_encode);
    struct Seen {
        CodecStream* stream;
        int space_left = -1;
        const std::uint8_t* write_cursor = nullptr;
        static int take(void* context, std::uint8_t* /*buffer*/, int count) {
            auto* seen = static_cast<Seen*>(context);
            seen->space_left = seen->stream->space_left;
            seen->write_cursor = seen->stream->write_cursor;
            return count;
        }
    } seen = {.stream = stream.get()};
    stream->io = Seen::take;
    stream->io_context = &seen;
    write_to(*stream, counting_bytes(pcm_block + 1));
    EXPECT_EQ(seen.space_left, 0);
    EXPECT_EQ(seen.write_cursor, stream->ibuff + pcm_block);
}

TEST(CodecStreamRead, EndOfADecodersInputIsNotDecoded) {
    // GSM 06.10 decodes two frames whatever the count says: stale ones, if it were asked to at the end.
    const StreamPtr stream = new_stream(gsm0610, mode_decode);
    BlockSource source(stream, {counting_bytes(65)});
    EXPECT_EQ(read_from(*stream, 10000).size(), 640u);
    EXPECT_EQ(read_from(*stream, 10000).size(), 0u);
    EXPECT_EQ(stream->bytes_left, 0);
}
