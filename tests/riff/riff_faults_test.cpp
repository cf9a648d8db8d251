// SPDX-License-Identifier: MIT
// What RIFF files do when memory, the disk or the stream fails.
#include <gmock/gmock.h>

#include <cstdlib>

#include "riff/allocation_faults.h"
#include "riff/fourcc.h"
#include "riff/medium.h"
#include "riff/riff_read.h"
#include "riff/wave_format.h"
#include "support/capture.h"
#include "support/temp_dir.h"

namespace {

constexpr std::size_t outer_header_bytes = 12;

// Opens for writing or reading over the medium; null with its messages in `output` when that fails.
RiffFile* open_over(Medium& medium, std::uint32_t form_type, Output* output, bool buffered = false) {
    RiffFile* file = nullptr;
    *output = output_of([&] {
        allocation_faults.stream_of_next_fopen = open_medium(medium, buffered);
        file = riff_open("medium", form_type);
    });
    return file;
}

class RiffFaults : public testing::Test {
  protected:
    ~RiffFaults() override { allocation_faults = {}; }

    RiffFile* written_to(std::size_t capacity, bool buffered = false) {
        medium.capacity = capacity;
        RiffFile* file = open_over(medium, fourcc("WAVE"), &output, buffered);
        EXPECT_NE(file, nullptr);
        return file;
    }

    Medium medium;
    Output output;
};

}  // namespace

TEST_F(RiffFaults, NoMemoryForTheRecord) {
    RiffFile* file = nullptr;
    output = output_of([&] {
        allocation_faults.callocs_fail = true;
        file = riff_open("/dev/null", fourcc("WAVE"));
        allocation_faults.callocs_fail = false;
    });
    EXPECT_EQ(file, nullptr);
    EXPECT_EQ(output.err, "Out of memory for RIFF file !\n");
    EXPECT_EQ(output.out, "");
}

TEST_F(RiffFaults, NoMemoryForAChunksBuffer) {
    medium.content = bytes_of("RIFF\4___WAVEabcd");
    RiffFile* file = open_over(medium, 0, &output);
    ASSERT_NE(file, nullptr);
    std::uint8_t* buffer = nullptr;
    output = output_of([&] {
        allocation_faults.mallocs_fail = true;
        buffer = riff_read_chunk_data(file, 4);
        allocation_faults.mallocs_fail = false;
    });
    EXPECT_EQ(buffer, nullptr);
    EXPECT_EQ(output.err, "Out of memory for chunk data buffer !\n");
    riff_close(file);
}

TEST_F(RiffFaults, NoMemoryForTheGrowthOfAChunksBuffer) {
    medium.content = bytes_of("RIFF\4___WAVE");
    medium.content.resize(400000, 1);
    RiffFile* file = open_over(medium, 0, &output, true);
    ASSERT_NE(file, nullptr);
    std::uint8_t* buffer = nullptr;
    output = output_of([&] {
        allocation_faults.reallocs_fail = true;
        buffer = riff_read_chunk_data(file, 300000);
        allocation_faults.reallocs_fail = false;
    });
    EXPECT_EQ(buffer, nullptr);
    EXPECT_EQ(output.err, "Out of memory for chunk data buffer !\n");
    riff_close(file);
}

TEST_F(RiffFaults, AbsurdSizesTakeNoMoreMemoryThanTheFileIsWorth) {
    medium.content = bytes_of("RIFF\4___WAVE");
    medium.content.resize(outer_header_bytes + 100000, 1);
    RiffFile* file = open_over(medium, 0, &output, true);
    ASSERT_NE(file, nullptr);
    output = output_of([&] {
        allocation_faults.largest_request = 0;
        EXPECT_EQ(riff_read_chunk_data(file, 0x7FFFFFFF), nullptr);
        EXPECT_LE(allocation_faults.largest_request, 200000u);
        allocation_faults.largest_request = 0;
        EXPECT_EQ(riff_read_chunk_data(file, -5), nullptr);
        EXPECT_EQ(allocation_faults.largest_request, 0u);
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

TEST_F(RiffFaults, ShortIntegerIsReportedAndNotCounted) {
    RiffFile* file = written_to(outer_header_bytes + 3);
    output = output_of([&] { EXPECT_EQ(riff_write_int(file, 1), -1); });
    EXPECT_EQ(output.err, "RIFF: unable to write integer !\n");
    EXPECT_EQ(file->chunk.size, 12u);
    riff_close(file);
}

TEST_F(RiffFaults, ShortIdentifierIsReportedAndNotCounted) {
    RiffFile* file = written_to(outer_header_bytes + 3);
    const ChunkHeader header = {fourcc("LIST"), 1};
    output = output_of([&] { EXPECT_EQ(riff_write_chunk(file, &header), -1); });
    EXPECT_EQ(output.err, "RIFF: unable to write chunk ID !\n");
    EXPECT_EQ(file->chunk.size, 12u);
    riff_close(file);
}

TEST_F(RiffFaults, ShortSizeBehindAnIdentifierCountsTheIdentifierAlone) {
    RiffFile* file = written_to(outer_header_bytes + 7);
    const ChunkHeader header = {fourcc("LIST"), 1};
    output = output_of([&] { EXPECT_EQ(riff_write_chunk(file, &header), -1); });
    EXPECT_EQ(output.err, "RIFF: unable to write integer !\n");
    EXPECT_EQ(file->chunk.size, 16u);
    riff_close(file);
}

TEST_F(RiffFaults, DataHeaderThatDoesNotFitReturnsItsStatusAndWritesNoData) {
    RiffFile* file = written_to(outer_header_bytes + 4);
    const Bytes data(5, 1);
    output = output_of([&] { EXPECT_EQ(riff_write_data(file, data.data(), 5), -1); });
    EXPECT_EQ(output.err, "RIFF: unable to write integer !\n");
    EXPECT_EQ(file->data_count, 0u);
    EXPECT_EQ(file->data_patch_position, 16);  // noted before the header is written
    EXPECT_EQ(medium.content.size(), outer_header_bytes + 4);
    riff_close(file);
}

TEST_F(RiffFaults, DataOfWhichNothingWasWrittenLeavesItsHeaderAndTheNextWritesAnother) {
    RiffFile* file = written_to(outer_header_bytes + 8);
    const Bytes data = bytes({7, 8});
    EXPECT_EQ(riff_write_data(file, data.data(), 2), 0);
    medium.capacity = 1000;
    EXPECT_EQ(riff_write_data(file, data.data(), 2), 2);
    riff_close(file);
    EXPECT_EQ(medium.content, bytes({'R', 'I', 'F', 'F', 30, 0, 0, 0, 'W', 'A', 'V', 'E',  //
                                     'd', 'a', 't', 'a', 0,  0, 0, 0,                      //
                                     'd', 'a', 't', 'a', 2,  0, 0, 0, 7,   8}));
}

TEST_F(RiffFaults, ShortDataIsCountedAsFarAsItWentWithoutAMessage) {
    RiffFile* file = written_to(outer_header_bytes + 8 + 3);
    const Bytes data(5, 1);
    output = output_of([&] { EXPECT_EQ(riff_write_data(file, data.data(), 5), 3); });
    EXPECT_EQ(output.err, "");
    EXPECT_EQ(file->data_count, 3u);
    EXPECT_EQ(file->chunk.size, 23u);
    output = output_of([&] { EXPECT_EQ(riff_write_data(file, data.data(), 5), 0); });
    EXPECT_EQ(output.err, "");
    EXPECT_EQ(file->data_count, 3u);
    EXPECT_EQ(riff_close(file), 0);
    EXPECT_EQ(medium.content, bytes({'R', 'I', 'F', 'F', 23, 0, 0, 0, 'W', 'A', 'V', 'E',  //
                                     'd', 'a', 't', 'a', 3,  0, 0, 0, 1,   1,   1}));
}

TEST_F(RiffFaults, StreamIsFlushedAfterEveryDataCallWhateverItWrote) {
    RiffFile* file = written_to(1000, true);
    EXPECT_EQ(medium.content.size(), outer_header_bytes);
    riff_write_data(file, nullptr, 0);
    EXPECT_EQ(medium.content.size(), outer_header_bytes + 8);
    const Bytes data(5, 1);
    riff_write_data(file, data.data(), 5);
    EXPECT_EQ(medium.content.size(), outer_header_bytes + 8 + 8 + 5);
    std::fputc('x', file->stream);
    EXPECT_EQ(medium.content.size(), outer_header_bytes + 8 + 8 + 5);  // still in the stream
    riff_write_data(file, nullptr, 0);
    EXPECT_EQ(medium.content.size(), outer_header_bytes + 8 + 8 + 5 + 1);
    riff_close(file);
}

TEST_F(RiffFaults, StreamIsFlushedAlsoAfterDataThatFailed) {
    RiffFile* file = written_to(outer_header_bytes + 8 + 1, true);
    const Bytes data(5, 1);
    riff_write_data(file, data.data(), 5);  // buffered whole; the flush finds one byte of room
    EXPECT_EQ(medium.content.size(), outer_header_bytes + 8 + 1);
    medium.capacity = 1000;
    riff_write_data(file, data.data(), 2);
    EXPECT_EQ(medium.content.size(), outer_header_bytes + 8 + 1 + 2);
    riff_close(file);
}

TEST_F(RiffFaults, FullDiskLeavesTheBytesBeforeAsTheyWereAndTheSizesArePatched) {
    RiffFile* file = written_to(outer_header_bytes + 8 + 6, true);
    const Bytes data = bytes({1, 2, 3, 4});
    for (int i = 0; i < 4; ++i) riff_write_data(file, data.data(), 4);
    EXPECT_EQ(riff_close(file), 0);
    ASSERT_EQ(medium.content.size(), outer_header_bytes + 8 + 6);
    EXPECT_EQ(Bytes(medium.content.begin() + 20, medium.content.end()), bytes({1, 2, 3, 4, 1, 2}));
    EXPECT_EQ(Bytes(medium.content.begin() + 8, medium.content.begin() + 16), bytes_of("WAVEdata"));
    EXPECT_EQ(medium.content[4], 36);   // 12 + 8 + 16: what the stream took, not what the disk took
    EXPECT_EQ(medium.content[16], 16);  // likewise
}

TEST_F(RiffFaults, CloseReportsNeitherSeeksNorPatchesThatFail) {
    RiffFile* file = written_to(1000);
    const Bytes data(5, 1);
    riff_write_data(file, data.data(), 5);
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
    medium.content = bytes_of("RIFF____WAVEdata\2___ab");
    const Bytes before = medium.content;
    RiffFile* file = open_over(medium, 0, &output);
    ASSERT_NE(file, nullptr);
    riff_close(file);
    EXPECT_EQ(medium.content, before);
}

TEST_F(RiffFaults, DataSizeWhosePlaceIsNotToldStaysZeroAndGoesOverNothing) {
    RiffFile* file = written_to(1000);
    const Bytes data(5, 1);
    medium.seeks_fail = true;
    riff_write_data(file, data.data(), 5);
    medium.seeks_fail = false;
    riff_close(file);
    EXPECT_EQ(medium.content, bytes({'R', 'I', 'F', 'F', 25, 0, 0, 0, 'W', 'A', 'V', 'E',  //
                                     'd', 'a', 't', 'a', 0,  0, 0, 0, 1,   1,   1,   1,   1}));
}

TEST_F(RiffFaults, CloseReturnsWhatFcloseReturns) {
    RiffFile* file = written_to(1000);
    medium.close_fails = true;
    EXPECT_EQ(riff_close(file), EOF);
    EXPECT_EQ(medium.closes, 1);
}

TEST_F(RiffFaults, ReadErrorsEndInTheDocumentedResults) {
    medium.content = bytes_of("RIFF\4___WAVE");
    medium.content.resize(100, 1);
    RiffFile* file = open_over(medium, 0, &output);
    ASSERT_NE(file, nullptr);
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

TEST_F(RiffFaults, FormatHeaderThatDoesNotFitLeavesTheRecordUntouched) {
    RiffFile* file = written_to(outer_header_bytes + 7);
    WaveFormat format = {1, 1, 8000, 0, 0, 16, 0};
    output = output_of([&] { EXPECT_EQ(riff_write_format(file, &format), -1); });
    EXPECT_EQ(output.err, "RIFF: unable to write integer !\n");
    EXPECT_EQ(format.block_align, 0);
    EXPECT_EQ(format.byte_rate, 0u);
    riff_close(file);
}

TEST_F(RiffFaults, FormatBodyThatDoesNotFitFailsWithoutAMessageAndIsNotCounted) {
    RiffFile* file = written_to(outer_header_bytes + 8 + 15);
    WaveFormat format = {1, 1, 8000, 0, 0, 16, 0};
    output = output_of([&] { EXPECT_EQ(riff_write_format(file, &format), -1); });
    EXPECT_EQ(output.err, "");
    EXPECT_EQ(file->chunk.size, 20u);
    EXPECT_EQ(format.block_align, 2);
    EXPECT_EQ(format.byte_rate, 16000u);
    riff_close(file);
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
