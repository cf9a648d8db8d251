// SPDX-License-Identifier: MIT
// Opening for reading, the walk over the chunks, and what comes out of them.
#include <gmock/gmock.h>

#include <cstdlib>
#include <limits>

#include "riff/fourcc.h"
#include "riff/riff_file.h"
#include "riff/wav_364_bytes.h"
#include "riff/wave_format.h"
#include "support/capture.h"
#include "support/temp_dir.h"

namespace {

constexpr std::uint64_t sign_bits = 0xFFFFFFFF00000000u;

Bytes operator+(Bytes left, const Bytes& right) {
    left.insert(left.end(), right.begin(), right.end());
    return left;
}

// A chunk as it stands in a file; the size stated may differ from the body's.
Bytes chunk_stating(const std::string& id, std::uint32_t size, const Bytes& body) {
    Bytes result = bytes_of(id);
    for (int shift = 0; shift < 32; shift += 8) result.push_back(static_cast<std::uint8_t>(size >> shift));
    return result + body;
}

Bytes chunk(const std::string& id, const Bytes& body) {
    return chunk_stating(id, static_cast<std::uint32_t>(body.size()), body);
}

Bytes wave_file(const Bytes& chunks) {
    return chunk_stating("RIFF", static_cast<std::uint32_t>(chunks.size()) + 4, bytes_of("WAVE")) + chunks;
}

class RiffRead : public testing::Test {
  protected:
    ~RiffRead() override {
        if (file != nullptr) riff_close(file);
    }

    // Closes the file that was open and opens one of this content; its messages go to `output`.
    void open(const Bytes& content) {
        if (file != nullptr) riff_close(file);
        write_file(path, content);
        output = output_of([this] { file = riff_open(path.c_str(), 0); });
    }

    // Opens a file whose outer header is followed by these chunks.
    void open_wave(const Bytes& chunks) {
        open(wave_file(chunks));
        ASSERT_NE(file, nullptr);
        EXPECT_EQ(output.err, "");
    }

    // One read of data, checked not to pass `capacity`.
    Bytes read_data(int capacity, int* result = nullptr) {
        Bytes buffer(64, 0xEE);
        int count = 0;
        output = output_of([&] { count = riff_read_data(file, buffer.data(), capacity); });
        if (result != nullptr) *result = count;
        const auto kept = static_cast<std::size_t>(capacity > 0 ? capacity : 0);
        EXPECT_EQ(Bytes(buffer.begin() + static_cast<std::ptrdiff_t>(kept), buffer.end()), Bytes(64 - kept, 0xEE));
        buffer.resize(static_cast<std::size_t>(count > 0 ? count : 0));
        return buffer;
    }

    int read_chunk() {
        int status = 0;
        output = output_of([&] { status = riff_read_chunk(file, &header); });
        return status;
    }

    int find_format(Bytes& buffer) {
        int status = 0;
        output = output_of([&] { status = riff_find_format(file, buffer.data()); });
        return status;
    }

    std::uint8_t* read_chunk_data(std::int64_t size) {
        std::uint8_t* buffer = nullptr;
        output = output_of([&] { buffer = riff_read_chunk_data(file, size); });
        return buffer;
    }

    TempDir directory;
    std::string path = directory / "read.wav";
    RiffFile* file = nullptr;
    Output output;
    ChunkHeader header = {0x1234, 0x5678};
};

}  // namespace

// --- riff_open

TEST_F(RiffRead, OpenTakesTheOuterHeaderAndTheFormType) {
    open(Bytes(std::begin(wav_364_bytes), std::end(wav_364_bytes)));
    ASSERT_NE(file, nullptr);
    EXPECT_EQ(file->chunk.id, 0x52494646u);
    EXPECT_EQ(file->chunk.size, 364u);
    EXPECT_EQ(file->form_type, 0x57415645u);
    EXPECT_EQ(file->data_count, 0u);
    EXPECT_EQ(file->data_left, 0u);
    EXPECT_EQ(file->size_patch_position, 0);
    EXPECT_EQ(file->data_patch_position, 0);
    EXPECT_EQ(output.err, "");
    EXPECT_EQ(output.out, "");
}

TEST_F(RiffRead, CloseOfAFileThatWasReadLeavesItAsItIs) {
    const Bytes content = wave_file(chunk("data", bytes({1, 2, 3})));
    open(content);
    read_data(3);
    EXPECT_EQ(riff_close(file), 0);
    file = nullptr;
    EXPECT_EQ(read_file(path), content);
}

TEST_F(RiffRead, RifxHasItsOuterSizeMostSignificantByteFirstAndInnerSizesLeast) {
    open(bytes({'R', 'I', 'F', 'X', 0, 0, 0x07, 0xFC, 'W', 'A', 'V', 'E', 'd', 'a', 't', 'a', 2, 0, 0, 0, 5, 6}));
    ASSERT_NE(file, nullptr);
    EXPECT_EQ(file->chunk.id, 0x52494658u);
    EXPECT_EQ(file->chunk.size, 2044u);
    EXPECT_EQ(file->form_type, 0x57415645u);
    EXPECT_EQ(read_data(9), bytes({5, 6}));
}

TEST_F(RiffRead, RifxSizesAreSignExtendedAfterTheReversal) {
    // FC 00 00 00 would be negative the other way round; 80 00 00 01 is negative this way.
    open(bytes({'R', 'I', 'F', 'X', 0, 0, 0, 0xFC, 'W', 'A', 'V', 'E'}));
    ASSERT_NE(file, nullptr);
    EXPECT_EQ(file->chunk.size, 0xFCu);
    open(bytes({'R', 'I', 'F', 'X', 0x80, 0, 0, 1, 'W', 'A', 'V', 'E'}));
    ASSERT_NE(file, nullptr);
    EXPECT_EQ(file->chunk.size, sign_bits | 0x80000001u);
}

TEST_F(RiffRead, OuterSizeOf0x80000000AndMoreIsNegative) {
    open(bytes({'R', 'I', 'F', 'F', 0, 0, 0, 0x80, 'W', 'A', 'V', 'E'}));
    ASSERT_NE(file, nullptr);
    EXPECT_EQ(file->chunk.size, sign_bits | 0x80000000u);
    EXPECT_EQ(output_of([this] { riff_dump_header(file); }).out, "RIFF (LSB) len -2147483648 fmt WAVE\n");
}

TEST_F(RiffRead, OtherOuterIdentifierIsInvalid) {
    open(bytes({'R', 'I', 'F', 'f', 4, 0, 0, 0, 'W', 'A', 'V', 'E'}));
    EXPECT_EQ(file, nullptr);
    EXPECT_EQ(output.err, "Invalid RIFF file.\n");
    EXPECT_EQ(output.out, "");
}

TEST_F(RiffRead, EmptyFileIsInvalid) {
    open({});
    EXPECT_EQ(file, nullptr);
    EXPECT_EQ(output.err, "Invalid RIFF file.\n");
}

TEST_F(RiffRead, OuterHeaderCutInItsIdentifierEndsTheOpening) {
    open(bytes({'R', 'I'}));
    EXPECT_EQ(file, nullptr);
    EXPECT_EQ(output.err, "RIFF: unable to read chunk ID !\n");
}

TEST_F(RiffRead, OuterHeaderCutInItsSizeEndsTheOpening) {
    open(bytes({'R', 'I', 'F', 'F', 4, 0, 0}));
    EXPECT_EQ(file, nullptr);
    EXPECT_EQ(output.err, "RIFF: unable to read integer !\n");
}

TEST_F(RiffRead, CutFormTypeEndsTheOpening) {
    open(bytes({'R', 'I', 'F', 'F', 4, 0, 0, 0, 'W', 'A', 'V'}));
    EXPECT_EQ(file, nullptr);
    EXPECT_EQ(output.err, "RIFF: unable to read integer !\n");
}

TEST_F(RiffRead, MissingFileCannotBeOpened) {
    const std::string missing = directory / "missing.wav";
    output = output_of([&] { file = riff_open(missing.c_str(), 0); });
    EXPECT_EQ(file, nullptr);
    EXPECT_EQ(output.err, "Unable to open file '" + missing + "' !\n");
}

TEST_F(RiffRead, DirectoryIsInvalid) {
    output = output_of([&] { file = riff_open(directory.path().c_str(), 0); });
    EXPECT_EQ(file, nullptr);
    EXPECT_EQ(output.err, "Invalid RIFF file.\n");
}

// --- riff_read_int and riff_read_chunk

TEST_F(RiffRead, IntegerIsLeastSignificantByteFirstAndSignExtended) {
    open_wave(bytes({1, 2, 3, 4, 0xFE, 0xFF, 0xFF, 0xFF, 0, 0, 0, 0x80, 0xFF, 0xFF, 0xFF, 0x7F}));
    std::uint64_t value = 0;
    EXPECT_EQ(riff_read_int(file, &value), 0);
    EXPECT_EQ(value, 0x04030201u);
    EXPECT_EQ(riff_read_int(file, &value), 0);
    EXPECT_EQ(value, sign_bits | 0xFFFFFFFEu);
    EXPECT_EQ(riff_read_int(file, &value), 0);
    EXPECT_EQ(value, sign_bits | 0x80000000u);
    EXPECT_EQ(riff_read_int(file, &value), 0);
    EXPECT_EQ(value, 0x7FFFFFFFu);
}

TEST_F(RiffRead, IntegerThatIsCutOffIsReportedAndLeavesTheValue) {
    for (int left = 0; left < 4; ++left) {
        open_wave(Bytes(static_cast<std::size_t>(left), 1));
        std::uint64_t value = 77;
        output = output_of([&] { EXPECT_EQ(riff_read_int(file, &value), -1); });
        EXPECT_EQ(output.err, "RIFF: unable to read integer !\n") << left;
        EXPECT_EQ(value, 77u);
    }
}

TEST_F(RiffRead, ChunkHeaderIsIdentifierFirstCharacterFirstThenSize) {
    open_wave(bytes({'f', 'm', 't', ' ', 4, 3, 2, 1}));
    EXPECT_EQ(read_chunk(), 1);
    EXPECT_EQ(header.id, 0x666D7420u);
    EXPECT_EQ(header.size, 0x01020304u);
    EXPECT_EQ(output.err, "");
}

TEST_F(RiffRead, ChunkHeaderIsSignExtendedInIdentifierAndSize) {
    open_wave(bytes({0x80, 'a', 'b', 'c', 0xFF, 0xFF, 0xFF, 0xFF}));
    EXPECT_EQ(read_chunk(), 1);
    EXPECT_EQ(header.id, sign_bits | 0x80616263u);
    EXPECT_EQ(header.size, std::numeric_limits<std::uint64_t>::max());
}

TEST_F(RiffRead, EndOfTheFileAtAChunkBoundaryIsZeroWithoutAMessageAndLeavesTheHeader) {
    open_wave({});
    EXPECT_EQ(read_chunk(), 0);
    EXPECT_EQ(output.err, "");
    EXPECT_EQ(header.id, 0x1234u);
    EXPECT_EQ(header.size, 0x5678u);
}

TEST_F(RiffRead, EndOfTheFileWithinTheIdentifierIsReported) {
    for (const Bytes& rest : {bytes({'d'}), bytes({'d', 'a'}), bytes({'d', 'a', 't'})}) {
        open_wave(rest);
        EXPECT_EQ(read_chunk(), -1);
        EXPECT_EQ(output.err, "RIFF: unable to read chunk ID !\n") << rest.size();
        EXPECT_EQ(header.id, 0x1234u);
    }
}

TEST_F(RiffRead, EndOfTheFileWithinTheSizeIsReportedByTheIntegersMessage) {
    open_wave(bytes({'d', 'a', 't', 'a'}));
    EXPECT_EQ(read_chunk(), -1);
    EXPECT_EQ(output.err, "RIFF: unable to read integer !\n");
    EXPECT_EQ(header.id, 0x64617461u);
    EXPECT_EQ(header.size, 0x5678u);
}

// --- riff_skip

TEST_F(RiffRead, SkipPassesExactlyTheCountedBytes) {
    open_wave(bytes({1, 2, 3, 'a', 'b', 'c', 'd', 0, 0, 0, 0}));
    EXPECT_EQ(riff_skip(file, 3), 0);
    EXPECT_EQ(read_chunk(), 1);
    EXPECT_EQ(header.id, 0x61626364u);
}

TEST_F(RiffRead, SkipToTheVeryEndSucceeds) {
    open_wave(bytes({1, 2, 3}));
    EXPECT_EQ(riff_skip(file, 3), 0);
    EXPECT_EQ(read_chunk(), 0);
}

TEST_F(RiffRead, SkipBeyondTheEndFailsWithoutAMessage) {
    open_wave(bytes({1, 2, 3}));
    output = output_of([&] { EXPECT_EQ(riff_skip(file, 4), -1); });
    EXPECT_EQ(output.err, "");
}

TEST_F(RiffRead, SkipOfTheLargestCountStopsAtTheEnd) {
    open_wave(bytes({1, 2, 3}));
    EXPECT_EQ(riff_skip(file, std::numeric_limits<std::int64_t>::max()), -1);
}

TEST_F(RiffRead, SkipOfNothingOrLessStaysWhereItIs) {
    open_wave(bytes({'a', 'b', 'c', 'd', 0, 0, 0, 0}));
    EXPECT_EQ(riff_skip(file, 0), 0);
    EXPECT_EQ(riff_skip(file, -1), 0);
    EXPECT_EQ(riff_skip(file, std::numeric_limits<std::int64_t>::min()), 0);
    EXPECT_EQ(read_chunk(), 1);
}

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
    EXPECT_EQ(format.extra_size, 0);
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
    }
}

TEST_F(RiffRead, FormatOfSizeZeroIsFoundAndReadsNothing) {
    open_wave(chunk("fmt ", {}));
    Bytes buffer(1, 0xEE);
    EXPECT_EQ(find_format(buffer), 0);
    EXPECT_EQ(buffer[0], 0xEE);
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

// --- riff_dump_header

TEST_F(RiffRead, DumpShowsIdentifierByteOrderLengthAndForm) {
    open(bytes({'R', 'I', 'F', 'F', 0xFC, 0x07, 0, 0, 'W', 'A', 'V', 'E'}));
    output = output_of([this] { riff_dump_header(file); });
    EXPECT_EQ(output.out, "RIFF (LSB) len 2044 fmt WAVE\n");
    EXPECT_EQ(output.err, "");
}

TEST_F(RiffRead, DumpCallsEveryOtherIdentifierMsb) {
    open(bytes({'R', 'I', 'F', 'X', 0, 0, 0x07, 0xFC, 'A', 'V', 'I', ' '}));
    EXPECT_EQ(output_of([this] { riff_dump_header(file); }).out, "RIFX (MSB) len 2044 fmt AVI \n");
    file->chunk.id = fourcc("LIST");
    EXPECT_EQ(output_of([this] { riff_dump_header(file); }).out, "LIST (MSB) len 2044 fmt AVI \n");
}
