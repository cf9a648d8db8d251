// SPDX-License-Identifier: MIT
// A disk that is full: the run ends as it does with room enough, and the file is a beginning of the one it would be.
// What is in the whole file, other tests hold.
#include <gmock/gmock.h>

#include "faults/expected.h"

namespace {

struct PieceRow {
    const char* option;
    std::size_t head_bytes;   // up to the first byte of audio
    std::size_t piece_bytes;  // of audio that is written at once
};

constexpr PieceRow piece_rows[] = {
    {"pcm",   44, 1024},
    {"alaw",  46, 1024},
    {"ulaw",  46, 1024},
    {"adpcm", 46, 2048},
    {"gsm",   46, 640 },
};

const std::vector<std::string> long_recording = {"long.ambe"};

// Room for so many bytes: around every field of the head, and around the pieces.
std::vector<std::size_t> rooms_for(const PieceRow& row, const Bytes& whole) {
    std::vector<std::size_t> rooms = {0, 1, 3, 4, 5, 8, 12, 16, 20, 35, 36, 37, 38, 40, 42, 44, 45, 46, 47};
    for (std::size_t end = row.head_bytes + row.piece_bytes; end <= whole.size(); end += row.piece_bytes) {
        rooms.insert(rooms.end(), {end - 1, end, end + 1});
    }
    return rooms;
}

void expect_texts_and_nothing_left(const RunResult& found, const RunResult& whole) {
    EXPECT_EQ(found.signal, 0);
    EXPECT_EQ(found.status, 0);
    EXPECT_EQ(found.out, whole.out);
    EXPECT_EQ(found.err, whole.err);
    EXPECT_EQ(found.report.descriptors_after, found.report.descriptors_before);
    EXPECT_EQ(found.report.held_at_end, found.report.held_before_files);
    EXPECT_TRUE(found.line_put_back);
    EXPECT_TRUE(found.keyboard_put_back);
}

}  // namespace

// The sizes in the head are patched where they are, so they tell what there would be.
TEST(FullDisk, LeavesABeginningOfTheFileInEveryFormat) {
    for (const PieceRow& row : piece_rows) {
        const RunResult whole = run({.format = row.option, .recordings = long_recording});
        ASSERT_GE(whole.first_wave->size(), row.head_bytes + row.piece_bytes);
        for (const std::size_t room : rooms_for(row, *whole.first_wave)) {
            SCOPED_TRACE(std::string(row.option) + " with room for " + std::to_string(room));
            const RunResult found = run({.format = row.option, .recordings = long_recording, .file_limit = room});
            expect_texts_and_nothing_left(found, whole);
            EXPECT_EQ(*found.first_wave, first_bytes(*whole.first_wave, room));
        }
    }
}

// Its head is written when it is closed, and what does not fit then is not patched either.
TEST(FullDisk, FileWithoutAudioKeepsItsFirstOuterSizeWhereItsHeadDoesNotFit) {
    const Bytes head = bytes_of("RIFF") + low_first_4(4) + bytes_of("WAVEfmt ") + low_first_4(18) + low_first_2(17) +
                       low_first_2(1) + low_first_4(8000) + low_first_4(0) + low_first_2(0) + low_first_2(4) +
                       low_first_2(0);
    const std::vector<std::string> short_recording = {"b.dvtool"};  // four blocks are no piece of IMA ADPCM
    const RunResult whole = run({.format = "adpcm", .recordings = short_recording});
    EXPECT_EQ(*whole.first_wave, bytes_of("RIFF") + low_first_4(38) + from_byte(head, 8));
    for (const std::size_t room : {0, 1, 4, 8, 20, 37, 38, 39}) {
        SCOPED_TRACE(room);
        const RunResult found = run({.format = "adpcm", .recordings = short_recording, .file_limit = room});
        expect_texts_and_nothing_left(found, whole);
        EXPECT_EQ(*found.first_wave, room < head.size() ? first_bytes(head, room) : *whole.first_wave);
    }
}

TEST(FullDisk, DeviceThatTakesNothingEndsTheRunAsUsual) {
    for (const PieceRow& row : piece_rows) {
        const RunResult whole = run({.format = row.option});
        const RunResult found = run({.format = row.option, .first_wave_device = "/dev/full"});
        expect_texts_and_nothing_left(found, whole);
        EXPECT_EQ(*found.second_wave, *whole.second_wave);
    }
}

TEST(FullDisk, ConsoleThatTakesNothingChangesNoFile) {
    for (const PieceRow& row : piece_rows) {
        const RunResult whole = run({.format = row.option});
        const RunResult found = run({.format = row.option, .console_full = true});
        EXPECT_EQ(found.status, 0);
        EXPECT_EQ(*found.first_wave, *whole.first_wave);
        EXPECT_EQ(*found.second_wave, *whole.second_wave);
        EXPECT_TRUE(found.line_put_back && found.keyboard_put_back);
    }
}
