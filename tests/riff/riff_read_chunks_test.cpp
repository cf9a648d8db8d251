// SPDX-License-Identifier: MIT
// The walks over the chunks, and what comes out of them.
#include <cstdlib>
#include <limits>

#include "riff/riff_reading.h"
#include "riff/wave_format.h"
#include "support/allocations.h"

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

// One call stays within one "data" chunk; what stands before is skipped by its size, without padding.
TEST_F(RiffRead, DataOfAllItsChunksIsOneStreamThatEndsWithTheFile) {
    const Bytes three = bytes({1, 2, 3});
    const std::vector<Bytes> none;
    const std::vector<Bytes> one = {three};
    const Bytes list_of_negative_size = chunk_stating("LIST", 0x80000000, {});
    // clang-format off
    const struct {
        const char* what;
        Bytes chunks;
        std::vector<Bytes> pieces;
    } rows[] = {
        {"no data",                       chunk("fmt ", Bytes(16, 7)),                  none},
        {"chunk before, of an odd size",  chunk("odd ", three) + chunk("data", three),  one},
        {"chunk before, of size zero",    chunk("zero", {}) + chunk("data", three),     one},
        {"chunk before, beyond the end",  chunk_stating("LIST", 0x7FFFFFFF, three),     none},
        {"chunk before, of size below 0", list_of_negative_size + chunk("data", three), one},
        {"shorter than its size",         chunk_stating("data", 100, three),            one},
        {"of negative size",              chunk_stating("data", 0xFFFFFFFF, three),     one},
    };
    // clang-format on
    for (const auto& row : rows) {
        SCOPED_TRACE(row.what);
        open_wave(row.chunks);
        for (const Bytes& piece : row.pieces) EXPECT_EQ(read_data(10), piece);
        int result = -9;
        read_data(10, &result);
        EXPECT_EQ(result, 0);
        EXPECT_EQ(output.err, "");
    }
}

TEST_F(RiffRead, HeaderCutOffBeforeTheDataIsAFailure) {
    open_wave(chunk("fmt ", bytes({1})) + bytes_of("da"));
    int result = 0;
    read_data(10, &result);
    EXPECT_EQ(result, -1);
    EXPECT_EQ(output.err, "RIFF: unable to read chunk ID !\n");
}

TEST_F(RiffRead, OneCallStaysWithinOneDataChunkAndCountAndRestAreThoseOfTheLastDataChunk) {
    open_wave(chunk("data", bytes({1, 2, 3})) + chunk("LIST", zeros(1)) + chunk_stating("data", 100, bytes({4})));
    EXPECT_EQ(read_data(10), bytes({1, 2, 3}));
    EXPECT_EQ(read_data(10), bytes({4}));
    EXPECT_EQ(file->data_count, 100u);
    EXPECT_EQ(file->data_left, 99u);
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

// --- riff_find_format

TEST_F(RiffRead, EachFormatIsFoundBehindOtherChunksAndReadWhole) {
    const Bytes body = low_first_2(0x11) + low_first_2(1) + low_first_4(8000) + zeros(6) + bytes({4, 0, 2, 0, 0xF9, 1});
    open_wave(chunk("LIST", bytes({1, 2, 3})) + chunk("fmt ", body) + chunk("fmt ", bytes({3, 4})) + chunk("fmt ", {}) +
              chunk("data", bytes({9})));
    Bytes buffer(20);
    EXPECT_EQ(find_format(buffer.data()), 0);
    EXPECT_EQ(buffer, body);
    EXPECT_EQ(output.err, "");
    EXPECT_EQ(find_format(buffer.data()), 0);
    EXPECT_EQ(buffer, bytes({3, 4}) + from_byte(body, 2));
    EXPECT_EQ(find_format(buffer.data()), 0);  // of size zero
    EXPECT_EQ(buffer, bytes({3, 4}) + from_byte(body, 2));
    EXPECT_EQ(read_data(5), bytes({9}));
}

TEST_F(RiffRead, FormatThatWasWrittenComesBackAsTheRecord) {
    open(wave_of_364_bytes());
    WaveFormat format = {};
    EXPECT_EQ(find_format(reinterpret_cast<std::uint8_t*>(&format)), 0);
    EXPECT_EQ(format.format_tag, 1);
    EXPECT_EQ(format.channels, 1);
    EXPECT_EQ(format.sample_rate, 8000u);
    EXPECT_EQ(format.byte_rate, 16000u);
    EXPECT_EQ(format.block_align, 2);
    EXPECT_EQ(format.bits_per_sample, 16);
    EXPECT_EQ(format.extra_bytes, 0);
}

// As much is read as the file holds, and of a negative size nothing.
TEST_F(RiffRead, FormatThatIsMissingOrCutOffIsAFailure) {
    const char* cut = "RIFF: unable to read chunk data !\n";
    // clang-format off
    const struct {
        Bytes chunks;
        const char* message;
        std::size_t bytes_read;
    } rows[] = {
        {{},                                                 "",                                 0},
        {chunk("data", bytes({1, 2})),                       "",                                 0},
        {chunk_stating("LIST", 0x7FFFFFFF, bytes({1, 2})),   "",                                 0},
        {chunk("LIST", bytes({1, 2})) + bytes_of("fmt \20"), "RIFF: unable to read integer !\n", 0},
        {chunk_stating("fmt ", 4, Bytes(3, 1)),              cut,                                3},
        {chunk_stating("fmt ", 0x7FFFFFFF, Bytes(3, 1)),     cut,                                3},
        {chunk_stating("fmt ", 0x80000000, Bytes(3, 1)),     cut,                                0},
        {chunk_stating("fmt ", 0xFFFFFFFF, Bytes(3, 1)),     cut,                                0},
    };
    // clang-format on
    for (const auto& row : rows) {
        open_wave(row.chunks);
        Bytes buffer(4, 0xEE);
        EXPECT_EQ(find_format(buffer.data()), -1);
        EXPECT_EQ(output.err, row.message);
        EXPECT_EQ(buffer, Bytes(row.bytes_read, 1) + Bytes(4 - row.bytes_read, 0xEE));
    }
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

TEST_F(RiffRead, ChunkDataComesInABufferOfItsOwnWhateverItsSize) {
    Bytes body(200001);  // more than one step of growth
    for (std::size_t i = 0; i < body.size(); ++i) body[i] = static_cast<std::uint8_t>(i * 7 + (i >> 8));
    for (const std::size_t size : {std::size_t{0}, std::size_t{3}, body.size()}) {
        open_wave(first_bytes(body, size) + bytes({4}));
        std::uint8_t* buffer = read_chunk_data(static_cast<std::int64_t>(size));
        ASSERT_NE(buffer, nullptr);
        EXPECT_EQ(Bytes(buffer, buffer + size), first_bytes(body, size));
        EXPECT_EQ(output.err, "");
        std::free(buffer);
        EXPECT_EQ(std::fgetc(file->stream), 4);
    }
}

// By doubling: 16 MB are 256 of the first 64 KB.
TEST_F(RiffRead, LargeChunkDataIsReadInFewPieces) {
    open_wave(Bytes(16 << 20));
    allocations = {.counted = true};
    std::uint8_t* buffer = riff_read_chunk_data(file, 16 << 20);
    const int made = allocations.made;
    allocations = {};
    EXPECT_NE(buffer, nullptr);
    EXPECT_LE(made, 10);
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
