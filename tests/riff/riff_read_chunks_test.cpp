// SPDX-License-Identifier: MIT
// The walks over the chunks, and what comes out of them.
#include <cstdlib>
#include <limits>

#include "riff/riff_reading.h"
#include "riff/wav_364_bytes.h"
#include "riff/wave_format.h"

// --- riff_read_data

TEST_F(RiffRead, DataComesOutInPiecesOfTheCapacityThenWhatIsLeftThenZero) {
    open_wave(chunk("data", bytes({1, 2, 3, 4, 5})));
    EXPECT_EQ(read_data(2), bytes({1, 2}));
    EXPECT_EQ(file->data_count, 5u);
    EXPECT_EQ(file->data_left, 3u);
    EXPECT_EQ(read_data(2), bytes({3, 4}));
    EXPECT_EQ(read_data(2), bytes({5}));
    EXPECT_EQ(file->data_left, 0u);
    int result = -9;
    EXPECT_EQ(read_data(2, &result), Bytes());
    EXPECT_EQ(result, 0);
    EXPECT_EQ(output.err, "");
}

TEST_F(RiffRead, OtherChunksBeforeTheDataAreSkippedByTheirSizesWithoutPadding) {
    open_wave(chunk("fmt ", Bytes(16, 7)) + chunk("odd ", bytes({1, 2, 3})) + chunk("zero", {}) +
              chunk("data", bytes({8, 9})));
    EXPECT_EQ(read_data(10), bytes({8, 9}));
}

TEST_F(RiffRead, SeveralDataChunksAreOneStreamButOneCallStaysWithinOne) {
    open_wave(chunk("data", bytes({1, 2, 3})) + chunk("LIST", bytes({0})) + chunk("data", bytes({4})));
    EXPECT_EQ(read_data(10), bytes({1, 2, 3}));
    EXPECT_EQ(read_data(10), bytes({4}));
    EXPECT_EQ(file->data_count, 1u);
    int result = -9;
    read_data(10, &result);
    EXPECT_EQ(result, 0);
}

TEST_F(RiffRead, EmptyDataChunkGivesOneWithoutReading) {
    open_wave(chunk("data", {}) + chunk("data", bytes({4})));
    Bytes buffer(4, 0xEE);
    EXPECT_EQ(riff_read_data(file, buffer.data(), 4), 1);
    EXPECT_EQ(buffer, Bytes(4, 0xEE));
    EXPECT_EQ(file->data_count, 0u);
    EXPECT_EQ(file->data_left, 0u);
    EXPECT_EQ(read_data(4), bytes({4}));
}

TEST_F(RiffRead, DataShorterThanItsSizeIsHandedOutThenZero) {
    open_wave(chunk_stating("data", 100, bytes({1, 2, 3})));
    EXPECT_EQ(read_data(10), bytes({1, 2, 3}));
    EXPECT_EQ(file->data_left, 97u);
    int result = -9;
    read_data(10, &result);
    EXPECT_EQ(result, 0);
    EXPECT_EQ(output.err, "");
}

TEST_F(RiffRead, DataSizeThatIsNegativeIsHandedOutUpToTheEndOfTheFile) {
    open_wave(chunk_stating("data", 0xFFFFFFFF, bytes({1, 2, 3})));
    EXPECT_EQ(read_data(2), bytes({1, 2}));
    EXPECT_EQ(read_data(2), bytes({3}));
    int result = -9;
    read_data(2, &result);
    EXPECT_EQ(result, 0);
}

TEST_F(RiffRead, CapacityOfZeroOrLessReadsNoBytes) {
    open_wave(chunk("data", bytes({1, 2, 3})));
    for (const int capacity : {0, -1, std::numeric_limits<int>::min()}) {
        int result = -9;
        read_data(capacity, &result);
        EXPECT_EQ(result, 0) << capacity;
    }
    EXPECT_EQ(file->data_left, 3u);
    EXPECT_EQ(read_data(3), bytes({1, 2, 3}));
}

TEST_F(RiffRead, FileWithoutDataGivesZero) {
    open_wave(chunk("fmt ", Bytes(16, 7)));
    int result = -9;
    read_data(10, &result);
    EXPECT_EQ(result, 0);
    EXPECT_EQ(output.err, "");
}

TEST_F(RiffRead, ChunkBeforeTheDataThatReachesBeyondTheEndGivesZero) {
    open_wave(chunk_stating("LIST", 0x7FFFFFFF, bytes({1, 2})));
    int result = -9;
    read_data(10, &result);
    EXPECT_EQ(result, 0);
}

TEST_F(RiffRead, ChunkBeforeTheDataWithANegativeSizeIsPassedByItsHeaderAlone) {
    open_wave(chunk_stating("LIST", 0x80000000, {}) + chunk("data", bytes({6})));
    EXPECT_EQ(read_data(10), bytes({6}));
}

TEST_F(RiffRead, HeaderCutOffBeforeTheDataIsAFailure) {
    open_wave(chunk("fmt ", bytes({1})) + bytes({'d', 'a'}));
    int result = 0;
    read_data(10, &result);
    EXPECT_EQ(result, -1);
    EXPECT_EQ(output.err, "RIFF: unable to read chunk ID !\n");
}

// --- riff_find_format

TEST_F(RiffRead, FormatIsFoundBehindOtherChunksAndReadWhole) {
    const Bytes body = bytes({0x11, 0, 1, 0, 0x40, 0x1F, 0, 0, 0, 0, 0, 0, 0, 0, 4, 0, 2, 0, 0xF9, 0x01});
    open_wave(chunk("LIST", bytes({1, 2, 3})) + chunk("fmt ", body) + chunk("data", bytes({9})));
    Bytes buffer(20);
    EXPECT_EQ(find_format(buffer), 0);
    EXPECT_EQ(buffer, body);
    EXPECT_EQ(output.err, "");
    EXPECT_EQ(read_data(5), bytes({9}));
}

TEST_F(RiffRead, FirstOfTwoFormatsIsReadAndThenTheNext) {
    open_wave(chunk("fmt ", bytes({1, 2})) + chunk("fmt ", bytes({3, 4})));
    Bytes buffer(2);
    EXPECT_EQ(find_format(buffer), 0);
    EXPECT_EQ(buffer, bytes({1, 2}));
    EXPECT_EQ(find_format(buffer), 0);
    EXPECT_EQ(buffer, bytes({3, 4}));
}

TEST_F(RiffRead, FormatThatWasWrittenComesBackAsTheRecord) {
    open(Bytes(std::begin(wav_364_bytes), std::end(wav_364_bytes)));
    WaveFormat format = {};
    EXPECT_EQ(riff_find_format(file, reinterpret_cast<std::uint8_t*>(&format)), 0);
    EXPECT_EQ(format.format_tag, 1);
    EXPECT_EQ(format.channels, 1);
    EXPECT_EQ(format.sample_rate, 8000u);
    EXPECT_EQ(format.byte_rate, 16000u);
    EXPECT_EQ(format.block_align, 2);
    EXPECT_EQ(format.bits_per_sample, 16);
    EXPECT_EQ(format.extra_bytes, 0);
}

TEST_F(RiffRead, WalkForTheFormatEndsAtTheCleanEndOfTheFile) {
    Bytes buffer(64);
    open_wave(chunk("data", bytes({1, 2})));
    EXPECT_EQ(find_format(buffer), -1);
    EXPECT_EQ(output.err, "");
    open_wave({});
    EXPECT_EQ(find_format(buffer), -1);
    EXPECT_EQ(output.err, "");
}

TEST_F(RiffRead, WalkForTheFormatEndsAfterAChunkThatReachesBeyondTheEnd) {
    Bytes buffer(64);
    open_wave(chunk_stating("LIST", 0x7FFFFFFF, bytes({1, 2})));
    EXPECT_EQ(find_format(buffer), -1);
    EXPECT_EQ(output.err, "");
}

TEST_F(RiffRead, WalkForTheFormatEndsAtAHeaderThatIsCutOff) {
    Bytes buffer(64);
    open_wave(chunk("LIST", bytes({1, 2})) + bytes({'f', 'm', 't', ' ', 16}));
    EXPECT_EQ(find_format(buffer), -1);
    EXPECT_EQ(output.err, "RIFF: unable to read integer !\n");
}

TEST_F(RiffRead, FormatShorterThanItsSizeIsReported) {
    Bytes buffer(64);
    open_wave(chunk_stating("fmt ", 16, Bytes(15, 1)));
    EXPECT_EQ(find_format(buffer), -1);
    EXPECT_EQ(output.err, "RIFF: unable to read chunk data !\n");
}

TEST_F(RiffRead, FormatWithAnAbsurdSizeIsReportedAndNeverReadsMoreThanTheFileHolds) {
    for (const std::uint32_t size : {0x7FFFFFFFu, 0x80000000u, 0xFFFFFFFFu}) {
        open_wave(chunk_stating("fmt ", size, Bytes(3, 1)));
        Bytes buffer(4, 0xEE);
        EXPECT_EQ(find_format(buffer), -1);
        EXPECT_EQ(output.err, "RIFF: unable to read chunk data !\n") << size;
        EXPECT_EQ(buffer[3], 0xEE);
        const bool negative = size >= 0x80000000u;
        EXPECT_EQ(buffer[0], negative ? 0xEE : 1) << size;
    }
}

TEST_F(RiffRead, FormatOfSizeZeroIsFoundAndReadsNothing) {
    open_wave(chunk("fmt ", {}));
    Bytes buffer(1, 0xEE);
    EXPECT_EQ(find_format(buffer), 0);
    EXPECT_EQ(buffer[0], 0xEE);
}

TEST_F(RiffRead, BoundedFormatStopsAtTheBuffersEndAndSkipsTheRest) {
    const Bytes body = bytes({1, 2, 3, 4, 5});
    for (const std::size_t room : {0u, 1u, 4u, 5u, 8u}) {
        open_wave(chunk("LIST", bytes({9})) + chunk("fmt ", body) + bytes({0x77}));
        Bytes buffer(8, 0xEE);
        EXPECT_EQ(find_format_bounded(buffer, room), 5) << room;
        Bytes expected(8, 0xEE);
        std::copy_n(body.begin(), std::min(room, body.size()), expected.begin());
        EXPECT_EQ(buffer, expected) << room;
        EXPECT_EQ(std::fgetc(file->stream), 0x77) << room;
        EXPECT_EQ(output.err, "") << room;
    }
}

TEST_F(RiffRead, BoundedFormatThatTheFileDoesNotHoldIsReported) {
    for (const std::size_t room : {2u, 3u, 8u}) {
        open_wave(chunk_stating("fmt ", 5, bytes({1, 2, 3})));
        Bytes buffer(8, 0xEE);
        EXPECT_EQ(find_format_bounded(buffer, room), -1) << room;
        EXPECT_EQ(output.err, "RIFF: unable to read chunk data !\n") << room;
    }
    for (const std::uint32_t size : {0x80000000u, 0xFFFFFFFFu}) {
        open_wave(chunk_stating("fmt ", size, bytes({1, 2, 3})));
        Bytes buffer(8, 0xEE);
        EXPECT_EQ(find_format_bounded(buffer, 8), -1) << size;
        EXPECT_EQ(output.err, "RIFF: unable to read chunk data !\n") << size;
        EXPECT_EQ(buffer, Bytes(8, 0xEE)) << size;
    }
}

TEST_F(RiffRead, BoundedWalkForTheFormatEndsAtTheEndOfTheFile) {
    Bytes buffer(8);
    open_wave(chunk("data", bytes({1, 2})));
    EXPECT_EQ(find_format_bounded(buffer, 8), -1);
    EXPECT_EQ(output.err, "");
    open_wave(chunk("fmt ", {}));
    EXPECT_EQ(find_format_bounded(buffer, 8), 0);
}

// --- riff_read_chunk_data

TEST_F(RiffRead, ChunkDataComesInABufferOfItsOwn) {
    open_wave(bytes({1, 2, 3, 4}));
    std::uint8_t* buffer = read_chunk_data(3);
    ASSERT_NE(buffer, nullptr);
    EXPECT_EQ(Bytes(buffer, buffer + 3), bytes({1, 2, 3}));
    EXPECT_EQ(output.err, "");
    std::free(buffer);
    EXPECT_EQ(std::fgetc(file->stream), 4);
}

TEST_F(RiffRead, ChunkDataOfSizeZeroIsABuffer) {
    open_wave({});
    std::uint8_t* buffer = read_chunk_data(0);
    EXPECT_NE(buffer, nullptr);
    std::free(buffer);
}

TEST_F(RiffRead, ChunkDataLargerThanOneStepOfGrowthIsReadWhole) {
    Bytes body(200001);
    for (std::size_t i = 0; i < body.size(); ++i) body[i] = static_cast<std::uint8_t>(i * 7 + (i >> 8));
    open_wave(body);
    std::uint8_t* buffer = read_chunk_data(200001);
    ASSERT_NE(buffer, nullptr);
    EXPECT_EQ(Bytes(buffer, buffer + 200001), body);
    std::free(buffer);
}

TEST_F(RiffRead, ChunkDataThatTheFileDoesNotHoldIsReported) {
    open_wave(bytes({1, 2, 3}));
    EXPECT_EQ(read_chunk_data(4), nullptr);
    EXPECT_EQ(output.err, "RIFF: unable to read data !\n");
}

TEST_F(RiffRead, ChunkDataOfNegativeSizeIsMoreThanMemoryHolds) {
    open_wave(bytes({1, 2, 3}));
    for (const std::int64_t size :
         {std::int64_t{-1}, std::int64_t{-2147483648}, std::numeric_limits<std::int64_t>::min(),
          std::int64_t{0x80000000}, std::numeric_limits<std::int64_t>::max()}) {
        EXPECT_EQ(read_chunk_data(size), nullptr);
        EXPECT_EQ(output.err, "Out of memory for chunk data buffer !\n") << size;
    }
}
