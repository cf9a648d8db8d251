// SPDX-License-Identifier: MIT
// Opening for writing, writing and closing.
#include "riff/riff_file.h"

#include <gmock/gmock.h>
#include <sndfile.h>

#include <cstddef>
#include <filesystem>
#include <numeric>
#include <span>

#include "riff/fourcc.h"
#include "riff/riff_read.h"
#include "riff/wav_364_bytes.h"
#include "riff/wave_format.h"
#include "support/capture.h"
#include "support/temp_dir.h"

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

Bytes counting_bytes(std::size_t count) {
    Bytes result(count);
    std::iota(result.begin(), result.end(), std::uint8_t{0});
    return result;
}

Bytes part(const Bytes& whole, std::size_t offset, std::size_t count) {
    const std::span<const std::uint8_t> bytes = std::span(whole).subspan(offset, count);
    return Bytes(bytes.begin(), bytes.end());
}

int write_all(RiffFile* file, const Bytes& data) {
    return riff_write_data(file, data.data(), static_cast<int>(data.size()));
}

}  // namespace

TEST_F(RiffWrite, OneBlockOfLinearPcmGivesThe364BytesWorkedOutByHand) {
    RiffFile* file = created_with_pcm_format();
    EXPECT_EQ(write_all(file, counting_bytes(320)), 320);
    EXPECT_EQ(closed(file), Bytes(std::begin(wav_364_bytes), std::end(wav_364_bytes)));
}

TEST_F(RiffWrite, OuterSizeIsTheFileLengthDataSizeThatOfTheDataAndDataBeginsAt36) {
    RiffFile* file = created_with_pcm_format();
    write_all(file, counting_bytes(320));
    const Bytes content = closed(file);

    ASSERT_EQ(content.size(), 364u);
    EXPECT_EQ(part(content, 4, 4), bytes({0x6C, 0x01, 0, 0}));
    EXPECT_EQ(part(content, 36, 4), bytes_of("data"));
    EXPECT_EQ(part(content, 40, 4), bytes({0x40, 0x01, 0, 0}));
}

TEST_F(RiffWrite, FileClosedWithoutDataHoldsTheFormatAndSize36AndNothingElse) {
    EXPECT_EQ(closed(created_with_pcm_format()),
              bytes({'R', 'I', 'F', 'F', 36, 0, 0,    0,    'W', 'A', 'V',  'E',  'f', 'm', 't', ' ', 16, 0,
                     0,   0,   1,   0,   1,  0, 0x40, 0x1F, 0,   0,   0x80, 0x3E, 0,   0,   2,   0,   16, 0}));
}

TEST_F(RiffWrite, OuterHeaderReadsFourUntilTheFileIsClosed) {
    RiffFile* file = created();
    std::fflush(file->stream);
    EXPECT_EQ(read_file(path), bytes({'R', 'I', 'F', 'F', 4, 0, 0, 0, 'W', 'A', 'V', 'E'}));
    EXPECT_EQ(closed(file), bytes({'R', 'I', 'F', 'F', 12, 0, 0, 0, 'W', 'A', 'V', 'E'}));
}

TEST_F(RiffWrite, AnyFormTypeIsWrittenFirstCharacterFirst) {
    write_file(path, {});
    RiffFile* file = riff_open(path.c_str(), fourcc("AVI "));
    ASSERT_NE(file, nullptr);
    EXPECT_EQ(file->form_type, 0x20495641u);
    EXPECT_EQ(closed(file), bytes({'R', 'I', 'F', 'F', 12, 0, 0, 0, 'A', 'V', 'I', ' '}));
}

TEST_F(RiffWrite, FileThatIsNeverClosedKeepsItsProvisionalSizes) {
    RiffFile* file = created_with_pcm_format();
    write_all(file, bytes({1, 2, 3}));
    const Bytes content = read_file(path);
    ASSERT_EQ(content.size(), 47u);
    EXPECT_EQ(part(content, 4, 4), bytes({4, 0, 0, 0}));
    EXPECT_EQ(part(content, 36, 8), bytes({'d', 'a', 't', 'a', 0, 0, 0, 0}));
    riff_close(file);
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
    EXPECT_EQ(sizeof(RiffFile), 64u);
    EXPECT_EQ(offsetof(RiffFile, stream), 0u);
    EXPECT_EQ(offsetof(RiffFile, chunk), 8u);
    EXPECT_EQ(offsetof(RiffFile, form_type), 24u);
    EXPECT_EQ(offsetof(RiffFile, data_count), 32u);
    EXPECT_EQ(offsetof(RiffFile, data_left), 40u);
    EXPECT_EQ(offsetof(RiffFile, size_patch_position), 48u);
    EXPECT_EQ(offsetof(RiffFile, data_patch_position), 56u);
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
    EXPECT_EQ(closed(file), bytes({'R', 'I', 'F', 'F', 23, 0, 0, 0, 'W', 'A', 'V', 'E',  //
                                   'd', 'a', 't', 'a', 3,  0, 0, 0, 1,   2,   3}));
}

TEST_F(RiffWrite, OddDataIsNotPadded) {
    RiffFile* file = created_with_pcm_format();
    write_all(file, bytes({9}));
    EXPECT_EQ(closed(file).size(), 45u);
}

TEST_F(RiffWrite, FirstDataCallWithoutBytesLeavesAHeaderAndTheNextWritesAnotherWhichAloneIsPatched) {
    RiffFile* file = created();
    EXPECT_EQ(riff_write_data(file, nullptr, 0), 0);
    EXPECT_EQ(file->data_patch_position, 16);
    EXPECT_EQ(write_all(file, bytes({7, 8})), 2);
    EXPECT_EQ(file->data_patch_position, 24);
    EXPECT_EQ(closed(file), bytes({'R', 'I', 'F', 'F', 30, 0, 0, 0, 'W', 'A', 'V', 'E',  //
                                   'd', 'a', 't', 'a', 0,  0, 0, 0,                      //
                                   'd', 'a', 't', 'a', 2,  0, 0, 0, 7,   8}));
}

TEST_F(RiffWrite, DataCallWithoutBytesAfterTheFirstBytesWritesNothing) {
    RiffFile* file = created();
    write_all(file, bytes({7}));
    EXPECT_EQ(riff_write_data(file, nullptr, 0), 0);
    EXPECT_EQ(closed(file).size(), 21u);
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
    EXPECT_EQ(closed(file), bytes({'R', 'I', 'F', 'F', 0x55, 0x44, 0x33, 0x22, 'W', 'A', 'V', 'E',  //
                                   'd', 'a', 't', 'a', 0xEE, 0xDD, 0xCC, 0xBB, 7}));
}

TEST_F(RiffWrite, IntegerIsWrittenLeastSignificantByteFirstAndCutTo32Bits) {
    RiffFile* file = created();
    EXPECT_EQ(riff_write_int(file, 0x1122334455667788u), 0);
    EXPECT_EQ(file->chunk.size, 16u);
    EXPECT_EQ(part(closed(file), 12, 4), bytes({0x88, 0x77, 0x66, 0x55}));
}

TEST_F(RiffWrite, ChunkHeaderIsIdentifierFirstCharacterFirstThenSize) {
    RiffFile* file = created();
    const ChunkHeader header = {fourcc("LIST"), 0x01020304};
    EXPECT_EQ(riff_write_chunk(file, &header), 0);
    EXPECT_EQ(file->chunk.size, 20u);
    EXPECT_EQ(part(closed(file), 12, 8), bytes({'L', 'I', 'S', 'T', 4, 3, 2, 1}));
}

TEST_F(RiffWrite, HeaderThatIsTheFilesOwnCountIsFetchedAfterItsIdentifierWasCounted) {
    RiffFile* file = created();
    EXPECT_EQ(riff_write_chunk(file, &file->chunk), 0);  // count 12, then 16 with the identifier
    EXPECT_EQ(part(closed(file), 12, 8), bytes({'R', 'I', 'F', 'F', 16, 0, 0, 0}));
}

TEST_F(RiffWrite, OpeningNeitherTruncatesNorCreates) {
    write_file(path, Bytes(20, 0xAA));
    riff_close(riff_open(path.c_str(), fourcc("WAVE")));
    const Bytes content = read_file(path);
    ASSERT_EQ(content.size(), 20u);
    EXPECT_EQ(part(content, 0, 12), bytes({'R', 'I', 'F', 'F', 12, 0, 0, 0, 'W', 'A', 'V', 'E'}));
    EXPECT_EQ(part(content, 12, 8), Bytes(8, 0xAA));

    const std::string missing = directory / "missing.wav";
    RiffFile* file = nullptr;
    const Output output = output_of([&] { file = riff_open(missing.c_str(), fourcc("WAVE")); });
    EXPECT_EQ(file, nullptr);
    EXPECT_EQ(output.err, "Unable to create file '" + missing + "' !\n");
    EXPECT_EQ(output.out, "");
    EXPECT_FALSE(std::filesystem::exists(missing));
}

TEST_F(RiffWrite, NameOfAnyLengthStandsInTheMessage) {
    const std::string missing = directory / std::string(5000, 'x');
    const Output output = output_of([&] { EXPECT_EQ(riff_open(missing.c_str(), 0), nullptr); });
    EXPECT_EQ(output.err, "Unable to open file '" + missing + "' !\n");
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
