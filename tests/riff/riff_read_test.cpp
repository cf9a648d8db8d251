// SPDX-License-Identifier: MIT
// Opening for reading, headers, skipping and the dump of the outer header.
#include <limits>

#include "riff/fourcc.h"
#include "riff/riff_reading.h"

// --- riff_open

TEST_F(RiffRead, OpenTakesTheOuterHeaderAndTheFormType) {
    open(wave_of_364_bytes());
    ASSERT_NE(file, nullptr);
    EXPECT_EQ(file->chunk.id, 0x52494646u);
    EXPECT_EQ(file->chunk.size, 364u);
    EXPECT_EQ(file->form_type, 0x57415645u);
    EXPECT_EQ(file->data_count, 0u);
    EXPECT_EQ(file->data_left, 0u);
    EXPECT_EQ(file->size_patch_position, 0);
    EXPECT_EQ(file->data_patch_position, 0);
    EXPECT_EQ(output.out + output.err, "");
}

TEST_F(RiffRead, CloseOfAFileThatWasReadLeavesItAsItIs) {
    const Bytes content = wave_file(chunk("data", bytes({1, 2, 3})));
    open(content);
    read_data(3);
    EXPECT_EQ(riff_close(file), 0);
    file = nullptr;
    EXPECT_EQ(read_file(path), content);
}

// RIFX has its outer size most significant byte first, and the reversed size is then sign-extended.
TEST_F(RiffRead, OuterSizeIsInTheByteOrderOfItsIdentifierAndSignExtendedAndTheDumpCallsAllOthersMsb) {
    const struct {
        const char* id;
        Bytes size;
        std::uint64_t read;
        const char* dump;
    } rows[] = {
        {"RIFF", bytes({0xFC, 7, 0, 0}), 2044,                    "RIFF (LSB) len 2044 fmt AVI \n"       },
        {"RIFF", bytes({0, 0, 0, 0x80}), sign_bits | 0x80000000u, "RIFF (LSB) len -2147483648 fmt AVI \n"},
        {"RIFX", bytes({0, 0, 7, 0xFC}), 2044,                    "RIFX (MSB) len 2044 fmt AVI \n"       },
        {"RIFX", bytes({0, 0, 0, 0xFC}), 252,                     "RIFX (MSB) len 252 fmt AVI \n"        },
        {"RIFX", bytes({0x80, 0, 0, 1}), sign_bits | 0x80000001u, "RIFX (MSB) len -2147483647 fmt AVI \n"},
    };
    for (const auto& row : rows) {
        open(bytes_of(row.id) + row.size + bytes_of("AVI "));
        ASSERT_NE(file, nullptr);
        EXPECT_EQ(file->chunk.id, row.id[3] == 'F' ? 0x52494646u : 0x52494658u);
        EXPECT_EQ(file->chunk.size, row.read);
        output = output_of([this] { riff_dump_header(file); });
        EXPECT_EQ(output.out, row.dump);
        EXPECT_EQ(output.err, "");
    }
    file->chunk.id = fourcc("LIST");
    file->chunk.size = 1;
    EXPECT_EQ(output_of([this] { riff_dump_header(file); }).out, "LIST (MSB) len 1 fmt AVI \n");
}

TEST_F(RiffRead, RifxHasItsInnerSizesLeastSignificantByteFirst) {
    open(bytes_of("RIFX") + bytes({0, 0, 0, 0xFC}) + bytes_of("WAVE") + chunk("data", bytes({5, 6})));
    ASSERT_NE(file, nullptr);
    EXPECT_EQ(file->form_type, 0x57415645u);
    EXPECT_EQ(read_data(9), bytes({5, 6}));
}

TEST_F(RiffRead, OuterHeaderThatIsNoneOrCutOffEndsTheOpening) {
    const std::pair<Bytes, const char*> rows[] = {
        {{},                                               "Invalid RIFF file.\n"             },
        {bytes_of("RIFf\4") + zeros(3) + bytes_of("WAVE"), "Invalid RIFF file.\n"             },
        {bytes_of("RI"),                                   "RIFF: unable to read chunk ID !\n"},
        {bytes_of("RIFF\4") + zeros(2),                    "RIFF: unable to read integer !\n" },
        {bytes_of("RIFF\4") + zeros(3) + bytes_of("WAV"),  "RIFF: unable to read integer !\n" },
    };
    for (const auto& [content, message] : rows) {
        open(content);
        EXPECT_EQ(file, nullptr);
        EXPECT_EQ(output.err, message);
        EXPECT_EQ(output.out, "");
    }
}

TEST_F(RiffRead, MissingFileCannotBeOpenedAndADirectoryIsInvalid) {
    const std::string missing = directory / std::string(5000, 'x');  // a name of any length stands in the message
    output = output_of([&] { file = riff_open(missing.c_str(), 0); });
    EXPECT_EQ(file, nullptr);
    EXPECT_EQ(output.err, "Unable to open file '" + missing + "' !\n");
    output = output_of([&] { file = riff_open(directory.path().c_str(), 0); });
    EXPECT_EQ(file, nullptr);
    EXPECT_EQ(output.err, "Invalid RIFF file.\n");
}

// --- riff_read_int and riff_read_chunk

TEST_F(RiffRead, IntegerIsLeastSignificantByteFirstAndSignExtended) {
    open_wave(bytes({1, 2, 3, 4, 0xFE, 0xFF, 0xFF, 0xFF, 0, 0, 0, 0x80, 0xFF, 0xFF, 0xFF, 0x7F}));
    for (const std::uint64_t expected :
         {std::uint64_t{0x04030201}, sign_bits | 0xFFFFFFFEu, sign_bits | 0x80000000u, std::uint64_t{0x7FFFFFFF}}) {
        std::uint64_t value = 0;
        EXPECT_EQ(riff_read_int(file, &value), 0);
        EXPECT_EQ(value, expected);
    }
}

TEST_F(RiffRead, IntegerThatIsCutOffIsReportedAndLeavesTheValue) {
    for (std::size_t left = 0; left < 4; ++left) {
        open_wave(Bytes(left, 1));
        std::uint64_t value = 77;
        output = output_of([&] { EXPECT_EQ(riff_read_int(file, &value), -1); });
        EXPECT_EQ(output.err, "RIFF: unable to read integer !\n") << left;
        EXPECT_EQ(value, 77u);
    }
}

// What is not read stays as it was, 0x1234 and 0x5678.
TEST_F(RiffRead, ChunkHeaderIsIdentifierFirstCharacterFirstThenSizeBothSignExtended) {
    const std::string no_id = "RIFF: unable to read chunk ID !\n";
    const std::string no_size = "RIFF: unable to read integer !\n";
    const struct {
        std::string content;
        int status;
        std::string message;
        std::uint64_t id, size;
    } rows[] = {
        {"fmt \4\3\2\1",            1,  "",      0x666D7420,              0x01020304             },
        {"\x80zzz\xFF\xFF\xFF\xFF", 1,  "",      sign_bits | 0x807A7A7Au, sign_bits | 0xFFFFFFFFu},
        {"",                        0,  "",      0x1234,                  0x5678                 },
        {"d",                       -1, no_id,   0x1234,                  0x5678                 },
        {"da",                      -1, no_id,   0x1234,                  0x5678                 },
        {"dat",                     -1, no_id,   0x1234,                  0x5678                 },
        {"data",                    -1, no_size, 0x64617461,              0x5678                 },
    };
    for (const auto& row : rows) {
        open_wave(bytes_of(row.content));
        header = {0x1234, 0x5678};
        EXPECT_EQ(read_chunk(), row.status);
        EXPECT_EQ(output.err, row.message);
        EXPECT_EQ(header.id, row.id);
        EXPECT_EQ(header.size, row.size);
    }
}

// --- riff_skip

TEST_F(RiffRead, SkipPassesExactlyTheCountedBytesToTheVeryEnd) {
    open_wave(bytes({1, 2, 3}) + chunk("abcd", bytes({7})));
    EXPECT_EQ(riff_skip(file, 3), 0);
    EXPECT_EQ(read_chunk(), 1);
    EXPECT_EQ(header.id, 0x61626364u);
    EXPECT_EQ(riff_skip(file, 1), 0);
    EXPECT_EQ(read_chunk(), 0);
}

TEST_F(RiffRead, SkipBeyondTheEndFailsWithoutAMessage) {
    for (const std::int64_t count : {std::int64_t{4}, std::numeric_limits<std::int64_t>::max()}) {
        open_wave(bytes({1, 2, 3}));
        output = output_of([&] { EXPECT_EQ(riff_skip(file, count), -1); });
        EXPECT_EQ(output.err, "");
    }
}

TEST_F(RiffRead, SkipOfNothingOrLessStaysWhereItIs) {
    open_wave(chunk("abcd", {}));
    for (const std::int64_t count : {std::int64_t{0}, std::int64_t{-1}, std::numeric_limits<std::int64_t>::min()})
        EXPECT_EQ(riff_skip(file, count), 0);
    EXPECT_EQ(read_chunk(), 1);
}
