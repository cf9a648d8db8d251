// SPDX-License-Identifier: MIT
// Opening for reading, headers, skipping and the dump of the outer header.
#include <limits>

#include "riff/fourcc.h"
#include "riff/riff_reading.h"
#include "riff/wav_364_bytes.h"

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
