// SPDX-License-Identifier: MIT
// Opening for writing, writing and closing.
#include "riff/riff_file.h"

#include <gmock/gmock.h>
#include <sndfile.h>

#include <cstddef>
#include <filesystem>

#include "riff/fourcc.h"
#include "riff/riff_read.h"
#include "riff/riff_reading.h"
#include "riff/wave_format.h"

namespace {

constexpr WaveFormat pcm_format = {1, 1, 8000, 0, 0, 16, 0};

class RiffWrite : public testing::Test {
  protected:
    RiffFile* created() {
        write_file(path, {});
        RiffFile* file = riff_open(path.c_str(), fourcc("WAVE"));
        EXPECT_NE(file, nullptr);
        return file;
    }

    RiffFile* created_with_pcm_format() {
        RiffFile* file = created();
        WaveFormat format = pcm_format;
        EXPECT_EQ(riff_write_format(file, &format), 0);
        return file;
    }

    Bytes closed(RiffFile* file) {
        EXPECT_EQ(riff_close(file), 0);
        return read_file(path);
    }

    TempDir directory;
    std::string path = directory / "written.wav";
};

int write_all(RiffFile* file, const Bytes& data) {
    return riff_write_data(file, data.data(), static_cast<int>(data.size()));
}

}  // namespace

TEST_F(RiffWrite, OneBlockOfLinearPcmGivesThe364BytesWorkedOutByHand) {
    RiffFile* file = created_with_pcm_format();
    EXPECT_EQ(write_all(file, from_byte(wave_of_364_bytes(), 44)), 320);
    EXPECT_EQ(closed(file), wave_of_364_bytes());
}

TEST_F(RiffWrite, FileClosedWithoutDataHoldsTheFormatAndSize36AndNothingElse) {
    EXPECT_EQ(closed(created_with_pcm_format()),
              bytes_of("RIFF") + bytes({36, 0, 0, 0}) + slice(wave_of_364_bytes(), 8, 28));
}

TEST_F(RiffWrite, SizesAreProvisionalUntilTheFileIsClosed) {
    RiffFile* file = created_with_pcm_format();
    write_all(file, bytes({1, 2, 3}));
    EXPECT_EQ(read_file(path), bytes_of("RIFF") + bytes({4, 0, 0, 0}) + slice(wave_of_364_bytes(), 8, 28) +
                                   bytes_of("data") + bytes({0, 0, 0, 0, 1, 2, 3}));
    EXPECT_EQ(closed(file), bytes_of("RIFF") + bytes({47, 0, 0, 0}) + slice(wave_of_364_bytes(), 8, 28) +
                                bytes_of("data") + bytes({3, 0, 0, 0, 1, 2, 3}));  // odd data is not padded
}

TEST_F(RiffWrite, AnyFormTypeIsWrittenFirstCharacterFirst) {
    write_file(path, {});
    RiffFile* file = riff_open(path.c_str(), fourcc("AVI "));
    ASSERT_NE(file, nullptr);
    EXPECT_EQ(file->form_type, 0x20495641u);
    EXPECT_EQ(closed(file), bytes_of("RIFF") + bytes({12, 0, 0, 0}) + bytes_of("AVI "));
}

TEST_F(RiffWrite, RecordAfterOpeningHoldsWhatWasWritten) {
    RiffFile* file = created();
    EXPECT_EQ(file->chunk.id, 0x52494646u);
    EXPECT_EQ(file->chunk.size, 12u);
    EXPECT_EQ(file->form_type, 0x45564157u);
    EXPECT_EQ(file->data_count, 0u);
    EXPECT_EQ(file->data_left, 0u);
    EXPECT_EQ(file->size_patch_position, 4);
    EXPECT_EQ(file->data_patch_position, 0);
    riff_close(file);
}

TEST_F(RiffWrite, RecordIsEightFieldsOfSixtyFourBits) {
    const std::size_t offsets[] = {offsetof(RiffFile, stream),
                                   offsetof(RiffFile, chunk),
                                   offsetof(RiffFile, form_type),
                                   offsetof(RiffFile, data_count),
                                   offsetof(RiffFile, data_left),
                                   offsetof(RiffFile, size_patch_position),
                                   offsetof(RiffFile, data_patch_position),
                                   sizeof(RiffFile)};
    EXPECT_THAT(offsets, testing::ElementsAre(0, 8, 24, 32, 40, 48, 56, 64));
    EXPECT_EQ(sizeof(ChunkHeader), 16u);
}

TEST_F(RiffWrite, CountsEveryByteAndTheDataApart) {
    RiffFile* file = created_with_pcm_format();
    EXPECT_EQ(file->chunk.size, 36u);
    write_all(file, counting_bytes(5));
    EXPECT_EQ(file->chunk.size, 49u);
    EXPECT_EQ(file->data_count, 5u);
    EXPECT_EQ(file->data_patch_position, 40);
    write_all(file, counting_bytes(7));
    EXPECT_EQ(file->chunk.size, 56u);
    EXPECT_EQ(file->data_count, 12u);
    riff_close(file);
}

TEST_F(RiffWrite, DataHeaderIsWrittenOnceBeforeTheFirstBytes) {
    RiffFile* file = created();
    write_all(file, bytes({1, 2}));
    write_all(file, bytes({3}));
    EXPECT_EQ(riff_write_data(file, nullptr, 0), 0);
    EXPECT_EQ(closed(file), outer_header(23) + data_head(3) + bytes({1, 2, 3}));
}

TEST_F(RiffWrite, FirstDataCallWithoutBytesLeavesAHeaderAndTheNextWritesAnotherWhichAloneIsPatched) {
    RiffFile* file = created();
    EXPECT_EQ(riff_write_data(file, nullptr, 0), 0);
    EXPECT_EQ(file->data_patch_position, 16);
    EXPECT_EQ(write_all(file, bytes({7, 8})), 2);
    EXPECT_EQ(file->data_patch_position, 24);
    EXPECT_EQ(closed(file), outer_header(30) + data_head(0) + data_head(2) + bytes({7, 8}));
}

TEST_F(RiffWrite, NegativeDataCountWritesNoBytes) {
    RiffFile* file = created();
    const std::uint8_t byte = 1;
    EXPECT_EQ(riff_write_data(file, &byte, -1), 0);
    EXPECT_EQ(riff_write_data(file, &byte, -2147483647 - 1), 0);
    EXPECT_EQ(file->data_count, 0u);
    EXPECT_EQ(closed(file).size(), 28u);
}

TEST_F(RiffWrite, EachDataCallIsInTheFileWhenItReturns) {
    RiffFile* file = created();
    riff_write_data(file, nullptr, 0);
    EXPECT_EQ(std::filesystem::file_size(path), 20u);
    write_all(file, bytes({1}));
    EXPECT_EQ(std::filesystem::file_size(path), 29u);
    write_all(file, bytes({2, 3}));
    EXPECT_EQ(std::filesystem::file_size(path), 31u);
    riff_close(file);
}

TEST_F(RiffWrite, SizesArePatchedByTheLowFourBytesOfTheirCounts) {
    RiffFile* file = created();
    write_all(file, bytes({7}));
    file->chunk.size = 0x0000001122334455;
    file->data_count = 0x000000AABBCCDDEE;
    EXPECT_EQ(closed(file), outer_header(0x22334455) + data_head(0xBBCCDDEE) + bytes({7}));
}

TEST_F(RiffWrite, IntegerIsWrittenLeastSignificantByteFirstAndCutTo32Bits) {
    RiffFile* file = created();
    EXPECT_EQ(riff_write_int(file, 0x1122334455667788u), 0);
    EXPECT_EQ(file->chunk.size, 16u);
    EXPECT_EQ(slice(closed(file), 12, 4), bytes({0x88, 0x77, 0x66, 0x55}));
}

TEST_F(RiffWrite, ChunkHeaderIsIdentifierFirstCharacterFirstThenSize) {
    RiffFile* file = created();
    const ChunkHeader header = {fourcc("LIST"), 0x01020304};
    EXPECT_EQ(riff_write_chunk(file, &header), 0);
    EXPECT_EQ(file->chunk.size, 20u);
    EXPECT_EQ(slice(closed(file), 12, 8), bytes({'L', 'I', 'S', 'T', 4, 3, 2, 1}));
}

TEST_F(RiffWrite, HeaderThatIsTheFilesOwnCountIsFetchedAfterItsIdentifierWasCounted) {
    RiffFile* file = created();
    EXPECT_EQ(riff_write_chunk(file, &file->chunk), 0);  // count 12, then 16 with the identifier
    EXPECT_EQ(slice(closed(file), 12, 8), bytes({'R', 'I', 'F', 'F', 16, 0, 0, 0}));
}

TEST_F(RiffWrite, OpeningNeitherTruncatesNorCreates) {
    write_file(path, Bytes(20, 0xAA));
    riff_close(riff_open(path.c_str(), fourcc("WAVE")));
    EXPECT_EQ(read_file(path), outer_header(12) + Bytes(8, 0xAA));

    const std::string missing = directory / "missing.wav";
    RiffFile* file = nullptr;
    const Output output = output_of([&] { file = riff_open(missing.c_str(), fourcc("WAVE")); });
    EXPECT_EQ(file, nullptr);
    EXPECT_EQ(output.err, "Unable to create file '" + missing + "' !\n");
    EXPECT_EQ(output.out, "");
    EXPECT_FALSE(std::filesystem::exists(missing));
}

TEST_F(RiffWrite, DumpOfAFileBeingWrittenShowsTheFormTypeReversed) {
    RiffFile* file = created_with_pcm_format();
    const Output output = output_of([&] { riff_dump_header(file); });
    EXPECT_EQ(output.out, "RIFF (LSB) len 36 fmt EVAW\n");
    EXPECT_EQ(output.err, "");
    riff_close(file);
}

TEST_F(RiffWrite, AnotherReaderFindsTheSamples) {
    RiffFile* file = created_with_pcm_format();
    write_all(file, bytes({0x01, 0x00, 0xFF, 0xFF, 0x00, 0x80, 0xFF, 0x7F}));
    riff_close(file);

    SF_INFO info = {};
    SNDFILE* reader = sf_open(path.c_str(), SFM_READ, &info);
    ASSERT_NE(reader, nullptr) << sf_strerror(nullptr);
    EXPECT_EQ(info.samplerate, 8000);
    EXPECT_EQ(info.channels, 1);
    EXPECT_EQ(info.format, SF_FORMAT_WAV | SF_FORMAT_PCM_16);
    short samples[5] = {};
    EXPECT_EQ(sf_readf_short(reader, samples, 5), 4);
    EXPECT_THAT(samples, testing::ElementsAre(1, -1, -32768, 32767, 0));
    sf_close(reader);
}
