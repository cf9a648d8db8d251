// SPDX-License-Identifier: MIT
// What RIFF files do when memory, the disk or the stream fails.
#include <gmock/gmock.h>

#include <functional>
#include <string>
#include <vector>

#include "riff/fourcc.h"
#include "riff/medium.h"
#include "riff/riff_read.h"
#include "riff/wave_format.h"
#include "support/allocations.h"
#include "support/capture.h"
#include "support/wave.h"

namespace {

int flushes = 0;  // of streams that are no console

}  // namespace

extern "C" {

int __real_fflush(std::FILE* stream);

int __wrap_fflush(std::FILE* stream) {
    if (stream != nullptr && stream != stdout && stream != stderr) flushes++;
    return __real_fflush(stream);
}

}  // extern "C"

namespace {

// Opens for writing or reading over the medium; null with its messages in `output` when that fails.
RiffFile* open_over(Medium& medium, std::uint32_t form_type, Output* output, bool buffered = false) {
    RiffFile* file = nullptr;
    *output = output_of([&] {
        stream_of_next_fopen = open_medium(medium, buffered);
        file = riff_open("medium", form_type);
    });
    return file;
}

// A whole file of linear PCM, with these pieces, over a medium with its faults. What was said comes back.
std::string written_with_pieces(Medium& medium, const std::vector<Bytes>& pieces, bool buffered = false) {
    Output output;
    RiffFile* file = open_over(medium, fourcc("WAVE"), &output, buffered);
    EXPECT_NE(file, nullptr);
    return output_of([&] {
               WaveFormat format = {1, 1, 8000, 0, 0, 16, 0};
               if (riff_write_format(file, &format) == 0)
                   for (const Bytes& piece : pieces)
                       riff_write_data(file, piece.data(), static_cast<int>(piece.size()));
               riff_close(file);
           })
        .err;
}

const Bytes one = bytes({1, 2, 3});
const Bytes two = bytes({4, 5});
const Bytes five_ones(5, 1);

class RiffFaults : public testing::Test {
  protected:
    RiffFile* written_to(std::size_t capacity, bool buffered = false) {
        medium.capacity = capacity;
        RiffFile* file = open_over(medium, fourcc("WAVE"), &output, buffered);
        EXPECT_NE(file, nullptr);
        return file;
    }

    RiffFile* reading(const Bytes& content, bool buffered = false) {
        medium = {.content = content};
        RiffFile* file = open_over(medium, 0, &output, buffered);
        EXPECT_NE(file, nullptr);
        return file;
    }

    Medium medium;
    Output output;
};

}  // namespace

TEST_F(RiffFaults, NoMemoryForTheRecord) {
    output = output_of([] {
        const FailingAllocations all(1);
        EXPECT_EQ(riff_open("/dev/null", fourcc("WAVE")), nullptr);
    });
    EXPECT_EQ(output.err, "Out of memory for RIFF file !\n");
    EXPECT_EQ(output.out, "");
}

TEST_F(RiffFaults, NoMemoryForAChunksBufferOrForItsGrowth) {
    for (const int failing : {1, 2}) {
        RiffFile* file = reading(bytes_of("RIFF\4___WAVE") + zeros(400000), true);
        output = output_of([&] {
            const FailingAllocations from_here(failing);
            EXPECT_EQ(riff_read_chunk_data(file, failing == 1 ? 4 : 300000), nullptr);
        });
        EXPECT_EQ(output.err, "Out of memory for chunk data buffer !\n");
        riff_close(file);
    }
}

TEST_F(RiffFaults, AbsurdSizesTakeNoMoreMemoryThanTheFileIsWorth) {
    RiffFile* file = reading(bytes_of("RIFF\4___WAVE") + zeros(100000), true);
    output = output_of([&] {
        allocations = {.counted = true};
        EXPECT_EQ(riff_read_chunk_data(file, 0x7FFFFFFF), nullptr);
        EXPECT_LE(allocations.largest, 200000u);
        allocations = {.counted = true};
        EXPECT_EQ(riff_read_chunk_data(file, -5), nullptr);
        EXPECT_EQ(allocations.made, 0);
        allocations = {};
    });
    EXPECT_EQ(output.err, "RIFF: unable to read data !\nOut of memory for chunk data buffer !\n");
    riff_close(file);
}

// A stream that is full after n bytes stops the outer header at its identifier, its size or the form type.
TEST_F(RiffFaults, OuterHeaderThatDoesNotFitClosesTheStreamAndReturnsNone) {
    for (std::size_t capacity = 0; capacity < outer_header_bytes; ++capacity) {
        medium = {};
        medium.capacity = capacity;
        EXPECT_EQ(open_over(medium, fourcc("WAVE"), &output), nullptr);
        EXPECT_EQ(output.err, capacity < 4 ? "RIFF: unable to write chunk ID !\n" : "RIFF: unable to write integer !\n")
            << capacity;
        EXPECT_EQ(medium.closes, 1);
    }
}

TEST_F(RiffFaults, FailedOpeningForReadingClosesTheStream) {
    for (const char* content : {"", "RI", "RIFF\4", "nope\4___WAVE", "RIFF\4___W"}) {
        medium = {};
        medium.content = bytes_of(content);
        EXPECT_EQ(open_over(medium, 0, &output), nullptr);
        EXPECT_EQ(medium.closes, 1) << content;
    }
}

TEST_F(RiffFaults, ShortIntegerOrIdentifierIsReportedAndNotCounted) {
    const ChunkHeader header = {fourcc("LIST"), 1};
    const auto write_int = [](RiffFile* file) { return riff_write_int(file, 1); };
    const auto write_chunk = [&header](RiffFile* file) { return riff_write_chunk(file, &header); };
    const struct {
        std::size_t room;
        std::function<int(RiffFile*)> write;
        const char* message;
        unsigned counted;
    } rows[] = {
        {3, write_int,   "RIFF: unable to write integer !\n",  12},
        {3, write_chunk, "RIFF: unable to write chunk ID !\n", 12},
        {7, write_chunk, "RIFF: unable to write integer !\n",  16}, // the identifier alone
    };
    for (const auto& row : rows) {
        medium = {};
        RiffFile* file = written_to(outer_header_bytes + row.room);
        output = output_of([&] { EXPECT_EQ(row.write(file), -1); });
        EXPECT_EQ(output.err, row.message);
        EXPECT_EQ(file->chunk.size, row.counted);
        riff_close(file);
    }
}

TEST_F(RiffFaults, DataHeaderThatDoesNotFitReturnsItsStatusAndWritesNoData) {
    RiffFile* file = written_to(outer_header_bytes + 4);
    output = output_of([&] { EXPECT_EQ(riff_write_data(file, five_ones.data(), 5), -1); });
    EXPECT_EQ(output.err, "RIFF: unable to write integer !\n");
    EXPECT_EQ(file->data_count, 0u);
    EXPECT_EQ(file->data_patch_position, 16);  // noted before the header is written
    EXPECT_EQ(medium.content.size(), outer_header_bytes + 4);
    riff_close(file);
}

TEST_F(RiffFaults, DataOfWhichNothingWasWrittenLeavesItsHeaderAndTheNextWritesAnother) {
    RiffFile* file = written_to(outer_header_bytes + 8);
    EXPECT_EQ(riff_write_data(file, two.data(), 2), 0);
    medium.capacity = 1000;
    EXPECT_EQ(riff_write_data(file, two.data(), 2), 2);
    riff_close(file);
    EXPECT_EQ(medium.content, outer_header(30) + data_head(0) + data_head(2) + two);
}

TEST_F(RiffFaults, ShortDataIsCountedAsFarAsItWentWithoutAMessage) {
    RiffFile* file = written_to(outer_header_bytes + 8 + 3);
    output = output_of([&] { EXPECT_EQ(riff_write_data(file, five_ones.data(), 5), 3); });
    EXPECT_EQ(output.err, "");
    EXPECT_EQ(file->data_count, 3u);
    EXPECT_EQ(file->chunk.size, 23u);
    output = output_of([&] { EXPECT_EQ(riff_write_data(file, five_ones.data(), 5), 0); });
    EXPECT_EQ(output.err, "");
    EXPECT_EQ(file->data_count, 3u);
    EXPECT_EQ(riff_close(file), 0);
    EXPECT_EQ(medium.content, outer_header(23) + data_head(3) + Bytes(3, 1));
}

TEST_F(RiffFaults, StreamIsFlushedAfterEveryDataCallWhateverItWrote) {
    RiffFile* file = written_to(1000, true);
    EXPECT_EQ(medium.content.size(), outer_header_bytes);
    riff_write_data(file, nullptr, 0);
    EXPECT_EQ(medium.content.size(), outer_header_bytes + 8);
    riff_write_data(file, five_ones.data(), 5);
    EXPECT_EQ(medium.content.size(), outer_header_bytes + 8 + 8 + 5);
    std::fputc('x', file->stream);
    EXPECT_EQ(medium.content.size(), outer_header_bytes + 8 + 8 + 5);  // still in the stream
    riff_write_data(file, nullptr, 0);
    EXPECT_EQ(medium.content.size(), outer_header_bytes + 8 + 8 + 5 + 1);
    riff_close(file);
}

TEST_F(RiffFaults, StreamIsFlushedAlsoAfterDataThatFailed) {
    RiffFile* file = written_to(outer_header_bytes + 8 + 1, true);
    riff_write_data(file, five_ones.data(), 5);  // buffered whole; the flush finds one byte of room
    EXPECT_EQ(medium.content.size(), outer_header_bytes + 8 + 1);
    medium.capacity = 1000;
    riff_write_data(file, five_ones.data(), 2);
    EXPECT_EQ(medium.content.size(), outer_header_bytes + 8 + 1 + 2);
    riff_close(file);
}

TEST_F(RiffFaults, FullDiskLeavesTheBytesBeforeAsTheyWereAndTheSizesArePatched) {
    RiffFile* file = written_to(outer_header_bytes + 8 + 6, true);
    const Bytes four = bytes({1, 2, 3, 4});
    for (int i = 0; i < 4; ++i) riff_write_data(file, four.data(), 4);
    EXPECT_EQ(riff_close(file), 0);
    // 36 is 12 + 8 + 16: what the stream took, not what the disk took.
    EXPECT_EQ(medium.content, outer_header(36) + data_head(16) + bytes({1, 2, 3, 4, 1, 2}));
}

TEST_F(RiffFaults, CloseReportsNeitherSeeksNorPatchesThatFail) {
    RiffFile* file = written_to(1000);
    riff_write_data(file, five_ones.data(), 5);
    medium.seeks_fail = true;
    medium.capacity = 0;
    int result = -9;
    output = output_of([&] { result = riff_close(file); });
    EXPECT_EQ(result, 0);
    EXPECT_EQ(output.err, "");
    EXPECT_EQ(output.out, "");
    EXPECT_EQ(medium.closes, 1);
}

TEST_F(RiffFaults, CloseOfAFileOpenedForReadingPatchesNothingEvenWhereItCould) {
    const Bytes content = bytes_of("RIFF____WAVEdata\2___ab");
    riff_close(reading(content));
    EXPECT_EQ(medium.content, content);
}

// The outer size, 25, stands at 4 and the data size, 5, goes over three of its bytes.
TEST_F(RiffFaults, DataSizeWhosePlaceIsNotToldGoesToOffset3) {
    RiffFile* file = written_to(1000);
    medium.seeks_fail = true;
    riff_write_data(file, five_ones.data(), 5);
    medium.seeks_fail = false;
    riff_close(file);
    EXPECT_EQ(medium.content,
              bytes_of("RIF") + low_first_4(5) + zeros(1) + bytes_of("WAVE") + data_head(0) + five_ones);
}

TEST_F(RiffFaults, BothSizesGoBehindTheLastByteWhereNothingCanBeSought) {
    medium.seeks_fail = true;
    RiffFile* file = written_to(1000);
    riff_write_data(file, five_ones.data(), 5);
    riff_close(file);
    EXPECT_EQ(medium.content, outer_header(4) + data_head(0) + five_ones + low_first_4(25) + low_first_4(5));
}

TEST_F(RiffFaults, ReadErrorInsideADataBodyGivesNoBytesAndIsNoFailure) {
    RiffFile* file = reading(outer_header(4) + chunk("data", bytes({1, 2, 3, 4, 5, 6, 7, 8, 9})));
    std::uint8_t buffer[4] = {};
    EXPECT_EQ(riff_read_data(file, buffer, 4), 4);
    medium.reads_fail = true;
    EXPECT_EQ(riff_read_data(file, buffer, 4), 0);
    EXPECT_EQ(file->data_left, 5u);
    riff_close(file);
}

TEST_F(RiffFaults, DataIsFlushedOnceACallAndNotAfterAHeaderThatFailed) {
    RiffFile* file = written_to(outer_header_bytes + 8 + 3);
    flushes = 0;
    EXPECT_EQ(riff_write_data(file, five_ones.data(), 3), 3);
    EXPECT_EQ(flushes, 1);
    riff_write_data(file, five_ones.data(), 0);
    EXPECT_EQ(flushes, 2);
    riff_close(file);

    medium = {};
    file = written_to(outer_header_bytes + 7);
    flushes = 0;
    output = output_of([&] { EXPECT_EQ(riff_write_data(file, five_ones.data(), 5), -1); });
    EXPECT_EQ(flushes, 0);
    riff_close(file);
}

// Writes 1 to 3 are the outer header, 4 to 6 the format, 7 and 8 the data header, then the pieces and the two sizes.
// Kept: as long as no byte of data was written each piece writes a header, and only the last is patched; its place is
// noted before it is written, so a header that failed is patched as well.
TEST_F(RiffFaults, EachWriteThatFailsTakesNothingAndIsNotCounted) {
    const std::string no_id = "RIFF: unable to write chunk ID !\n";
    const std::string no_integer = "RIFF: unable to write integer !\n";
    const Bytes form = bytes_of("WAVE");
    const Bytes form_fmt = bytes_of("WAVEfmt ");
    const Bytes data_id = bytes_of("data");
    const auto riff = [](unsigned size) { return bytes_of("RIFF") + low_first_4(size); };
    const auto expect_written = [this](int number, bool lasting, const std::vector<Bytes>& pieces,
                                       const std::string& said, const Bytes& content) {
        medium = {.failing_write = number, .lasting = lasting};
        EXPECT_EQ(written_with_pieces(medium, pieces), said) << number << lasting;
        EXPECT_EQ(medium.content, content) << number << lasting;
    };
    expect_written(4, false, {one, two}, no_id, riff(12) + form);
    expect_written(5, false, {one, two}, no_integer, riff(16) + form_fmt);
    expect_written(6, false, {one, two}, "", riff(20) + form_fmt + low_first_4(16));
    expect_written(7, false, {one, two}, no_id, wave_head(36 + 8 + 2) + data_head(2) + two);
    expect_written(8, false, {one, two}, no_integer, wave_head(36 + 12 + 2) + data_id + data_head(2) + two);
    expect_written(9, false, {one, two}, "", wave_head(36 + 16 + 2) + data_head(0) + data_head(2) + two);
    expect_written(10, false, {one, two}, "", wave_head(36 + 8 + 3) + data_head(3) + one);
    expect_written(11, false, {one, two}, "", wave_head(4) + data_head(5) + one + two);
    expect_written(12, false, {one, two}, "", wave_head(49) + data_head(0) + one + two);

    expect_written(4, true, {one, two}, no_id, riff(4) + form);
    expect_written(5, true, {one, two}, no_integer, riff(4) + form_fmt);
    expect_written(6, true, {one, two}, "", riff(4) + form_fmt + low_first_4(16));
    expect_written(7, true, {one, two}, no_id + no_id, wave_head(4));
    expect_written(8, true, {one, two}, no_integer + no_id, wave_head(4) + data_id);
    expect_written(9, true, {one, two}, no_id, wave_head(4) + data_head(0));
    expect_written(10, true, {one, two}, "", wave_head(4) + data_head(0) + one);
    expect_written(11, true, {one, two}, "", wave_head(4) + data_head(0) + one + two);
    expect_written(12, true, {one, two}, "", wave_head(49) + data_head(0) + one + two);

    expect_written(7, false, {one}, no_id, wave_head(36) + zeros(8));
    expect_written(8, false, {one}, no_integer, wave_head(36 + 4) + data_head(0));
    expect_written(9, false, {one}, "", wave_head(36 + 8) + data_head(0));
}

// Kept: a seek is not looked at, so a size goes where the file stands: behind the data, or behind the size before it.
TEST_F(RiffFaults, SizeWhoseSeekFailsGoesWhereTheFileStands) {
    const Bytes sizes = low_first_4(49) + low_first_4(5);
    medium = {.failing_seek = 1};
    written_with_pieces(medium, {one, two});
    EXPECT_EQ(medium.content, wave_head(4) + data_head(5) + one + two + low_first_4(49));
    medium = {.failing_seek = 1, .lasting = true};
    written_with_pieces(medium, {one, two});
    EXPECT_EQ(medium.content, wave_head(4) + data_head(0) + one + two + sizes);
    medium = {.failing_seek = 2};
    written_with_pieces(medium, {one, two});
    EXPECT_EQ(medium.content, bytes_of("RIFF") + sizes + from_byte(wave_head(49), 12) + data_head(0) + one + two);
}

// Buffered as a file is.
TEST_F(RiffFaults, WriteThatTheDiskLosesIsNotSeenAndDamagesNothingThatWasWritten) {
    const auto without_sizes = [](const Bytes& file) {
        return slice(file, 8, 32) + from_byte(file, 44);  // the outer size is at 4, the data size at 40
    };
    const Bytes whole = pcm_file(one + two);
    written_with_pieces(medium, {one, two}, true);
    EXPECT_EQ(medium.content, whole);
    const std::vector<std::size_t> taken_before = medium.write_sizes;
    ASSERT_GE(taken_before.size(), 4u);  // a flush for each piece, and the two sizes
    for (std::size_t i = 0; i < taken_before.size(); ++i) {
        for (const bool lasting : {false, true}) {
            medium = {.failing_write = static_cast<int>(i) + 1, .lasting = lasting};
            EXPECT_EQ(written_with_pieces(medium, {one, two}, true), "");
            ASSERT_GE(medium.content.size(), taken_before[i]);
            EXPECT_EQ(without_sizes(first_bytes(medium.content, taken_before[i])),
                      without_sizes(first_bytes(whole, taken_before[i])));
            if (lasting) {
                EXPECT_EQ(medium.content.size(), taken_before[i]);
            }
        }
    }
}

TEST_F(RiffFaults, FileThatCannotBeReadBackIsWrittenAllTheSame) {
    for (const bool buffered : {false, true}) {
        medium = {.reads_fail = true};
        EXPECT_EQ(written_with_pieces(medium, {one, two}, buffered), "");
        EXPECT_EQ(medium.content, pcm_file(one + two));
    }
}

TEST_F(RiffFaults, CloseReturnsWhatFcloseReturns) {
    RiffFile* file = written_to(1000);
    medium.close_fails = true;
    EXPECT_EQ(riff_close(file), EOF);
    EXPECT_EQ(medium.closes, 1);
}

TEST_F(RiffFaults, ReadErrorsEndInTheDocumentedResults) {
    RiffFile* file = reading(bytes_of("RIFF\4___WAVE") + Bytes(88, 1));
    medium.reads_fail = true;
    std::uint8_t buffer[8] = {};
    output = output_of([&] {
        EXPECT_EQ(riff_skip(file, 3), -1);
        EXPECT_EQ(riff_read_data(file, buffer, 8), 0);
        EXPECT_EQ(riff_find_format(file, buffer), -1);
    });
    EXPECT_EQ(output.err, "");
    output = output_of([&] { EXPECT_EQ(riff_read_chunk_data(file, 3), nullptr); });
    EXPECT_EQ(output.err, "RIFF: unable to read data !\n");
    riff_close(file);
}

TEST_F(RiffFaults, FormatHeaderThatDoesNotFitLeavesTheRecordAndABodyThatDoesNotFailsWithoutAMessage) {
    const struct {
        std::size_t room;
        const char* message;
        unsigned counted, block_align, byte_rate;
    } rows[] = {
        {7,      "RIFF: unable to write integer !\n", 16, 0, 0    },
        {8 + 15, "",                                  20, 2, 16000},
    };
    for (const auto& row : rows) {
        medium = {};
        RiffFile* file = written_to(outer_header_bytes + row.room);
        WaveFormat format = {1, 1, 8000, 0, 0, 16, 0};
        output = output_of([&] { EXPECT_EQ(riff_write_format(file, &format), -1); });
        EXPECT_EQ(output.err, row.message);
        EXPECT_EQ(file->chunk.size, row.counted);
        EXPECT_EQ(format.block_align, row.block_align);
        EXPECT_EQ(format.byte_rate, row.byte_rate);
        riff_close(file);
    }
}

TEST_F(RiffFaults, FullDeviceEndsEveryCallQuietly) {
    output = output_of([] {
        RiffFile* file = riff_open("/dev/full", fourcc("WAVE"));
        ASSERT_NE(file, nullptr);
        WaveFormat format = {1, 1, 8000, 0, 0, 16, 0};
        EXPECT_EQ(riff_write_format(file, &format), 0);
        const Bytes data(320, 1);
        for (int i = 0; i < 20; ++i) riff_write_data(file, data.data(), 320);
        riff_close(file);
    });
    EXPECT_EQ(output.err, "");
    EXPECT_EQ(output.out, "");
}
