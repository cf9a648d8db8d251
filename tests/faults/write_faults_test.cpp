// SPDX-License-Identifier: MIT
// WAVE files whose writes and seeks fail, call by call: what is in them then, byte for byte. A write that fails takes
// nothing and is not counted.
#include <gmock/gmock.h>

#include "faults/expected.h"
#include "program/recordings.h"

namespace {

constexpr unsigned head = 36;     // bytes up to the "data" header
constexpr unsigned whole = 1024;  // bytes of a piece
constexpr unsigned first_whole = head + 8 + 2 * whole;
constexpr unsigned second_whole = head + 8 + whole;

constexpr int writes_to_first = 12;

// What is said and what is in the file when one write fails, and when those after it fail too.
struct WriteRow {
    const char* what;
    std::string err_after_one;
    Bytes after_one;
    std::string err_after_all;
    Bytes after_all;
};

Bytes riff(unsigned outer_size) {
    return bytes_of("RIFF") + low_first_4(outer_size);  // 4 until the file is closed
}
const Bytes form = bytes_of("WAVE");
const Bytes form_fmt = bytes_of("WAVEfmt ");
const Bytes sixteen = low_first_4(16);
const Bytes audio = piece(1) + piece(2);

// clang-format off
// The first writes to a file, which decide whether it is converted at all.
const WriteRow head_rows[] = {
    {"RIFF",         no_chunk_id, {},                            no_chunk_id, {}},
    {"outer size",   no_integer,  bytes_of("RIFF"),              no_integer,  bytes_of("RIFF")},
    {"WAVE",         no_integer,  riff(4),                       no_integer,  riff(4)},
    {"fmt ",         no_chunk_id, riff(12) + form,               no_chunk_id, riff(4) + form},
    {"size of body", no_integer,  riff(16) + form_fmt,           no_integer,  riff(4) + form_fmt},
    {"body",         "",          riff(20) + form_fmt + sixteen, "",          riff(4) + form_fmt + sixteen},
};

// Kept: as long as no byte of audio was written, each piece writes a "data" header, and only the last is patched.
const WriteRow first_rows[] = {
    {"data",
     no_chunk_id,               wave_head(head + 8 + whole) + data_head(whole) + piece(2),
     no_chunk_id + no_chunk_id, wave_head(4)},
    {"size of data",
     no_integer,                wave_head(head + 12 + whole) + bytes_of("data") + data_head(whole) + piece(2),
     no_integer + no_chunk_id,  wave_head(4) + bytes_of("data")},
    {"piece 1",
     "",                        wave_head(head + 16 + whole) + data_head(0) + data_head(whole) + piece(2),
     no_chunk_id,               wave_head(4) + data_head(0)},
    {"piece 2",
     "",                        wave_head(head + 8 + whole) + data_head(whole) + piece(1),
     "",                        wave_head(4) + data_head(0) + piece(1)},
    {"true outer size",
     "",                        wave_head(4) + data_head(2 * whole) + audio,
     "",                        wave_head(4) + data_head(0) + audio},
    {"true data size",
     "",                        wave_head(first_whole) + data_head(0) + audio,
     "",                        wave_head(first_whole) + data_head(0) + audio},
};

// Kept: the place of the data size is noted before the header is written, so a header that failed is patched as well.
const WriteRow second_rows[] = {
    {"data",
     no_chunk_id, wave_head(head) + zeros(8),
     no_chunk_id, wave_head(4)},
    {"size of data",
     no_integer,  wave_head(head + 4) + data_head(0),
     no_integer,  wave_head(4) + bytes_of("data")},
    {"piece 3",
     "",          wave_head(head + 8) + data_head(0),
     "",          wave_head(4) + data_head(0)},
    {"true outer size",
     "",          wave_head(4) + data_head(whole) + piece(3),
     "",          wave_head(4) + data_head(0) + piece(3)},
    {"true data size",
     "",          wave_head(second_whole) + data_head(0) + piece(3),
     "",          wave_head(second_whole) + data_head(0) + piece(3)},
};
// clang-format on

// A file whose head cannot be written: the outer header or the "fmt " chunk.
FileOutcome not_created(Recording recording, int write, const std::string& err, const Bytes& wave) {
    const std::string target = recording == Recording::first ? " to 'rec.wav': " : " (DVTOOL) to 'b.wav': ";
    const std::string why = write < 3 ? "CANNOT CREATE\n" : "I/O ERR: CANNOT CREATE\n";
    return with_wave(refused(Mode::convert, recording, target + why, err), wave);
}

FileOutcome ran_with(Recording recording, const std::string& complaints, const Bytes& wave) {
    return with_wave(ran(Mode::convert, recording, packets_of(recording), "DONE\n", complaints), wave);
}

const FileOutcome first_well = ran_well(Mode::convert, Recording::first);
const FileOutcome second_well = ran_well(Mode::convert, Recording::second);
// Nothing can be written to it.
const FileOutcome second_refused = not_created(Recording::second, 0, no_chunk_id, {});

void expect_one(Call call, int number, const FileOutcome& first, const FileOutcome& second) {
    expect_run({.fault = only(call, number)}, run_of(Mode::convert, first, second));
}

void expect_all(Call call, int number, const FileOutcome& first, const FileOutcome& second) {
    expect_run({.fault = from(call, number)}, run_of(Mode::convert, first, second));
}

}  // namespace

TEST(WriteFaults, HeadThatCannotBeWrittenFailsItsFile) {
    int write = 0;
    for (const WriteRow& row : head_rows) {
        SCOPED_TRACE(row.what);
        const auto outcome = [&](Recording recording, bool all) {
            return not_created(recording, write, all ? row.err_after_all : row.err_after_one,
                               all ? row.after_all : row.after_one);
        };
        expect_one(Call::fwrite, 1 + write, outcome(Recording::first, false), second_well);
        expect_all(Call::fwrite, 1 + write, outcome(Recording::first, true), second_refused);
        expect_one(Call::fwrite, 1 + writes_to_first + write, first_well, outcome(Recording::second, false));
        expect_all(Call::fwrite, 1 + writes_to_first + write, first_well, outcome(Recording::second, true));
        write++;
    }
}

TEST(WriteFaults, AudioAndSizesThatCannotBeWrittenLeaveTheRunAsItIs) {
    int number = 7;
    for (const WriteRow& row : first_rows) {
        SCOPED_TRACE(row.what);
        expect_one(Call::fwrite, number, ran_with(Recording::first, row.err_after_one, row.after_one), second_well);
        expect_all(Call::fwrite, number, ran_with(Recording::first, row.err_after_all, row.after_all), second_refused);
        number++;
    }
    number = 7 + writes_to_first;
    for (const WriteRow& row : second_rows) {
        SCOPED_TRACE(row.what);
        expect_one(Call::fwrite, number, first_well, ran_with(Recording::second, row.err_after_one, row.after_one));
        expect_all(Call::fwrite, number, first_well, ran_with(Recording::second, row.err_after_all, row.after_all));
        number++;
    }
}

// Kept: a seek is not looked at, so a size goes where the file stands: behind the audio, or behind the size before it.
TEST(WriteFaults, SizeWhoseSeekFailsGoesWhereTheFileStands) {
    const auto behind_the_outer_size = [](unsigned outer_size, unsigned data_size) {
        return riff(outer_size) + low_first_4(data_size) + from_byte(wave_head(outer_size), 12) + data_head(0);
    };
    const FileOutcome first_behind =
        ran_with(Recording::first, "", behind_the_outer_size(first_whole, 2 * whole) + audio);
    const FileOutcome second_behind =
        ran_with(Recording::second, "", behind_the_outer_size(second_whole, whole) + piece(3));
    const FileOutcome second_at_end =
        ran_with(Recording::second, "", wave_head(4) + data_head(whole) + piece(3) + low_first_4(second_whole));
    const FileOutcome both_at_end = ran_with(
        Recording::second, "", wave_head(4) + data_head(0) + piece(3) + low_first_4(second_whole) + low_first_4(whole));

    expect_one(Call::fseek, 1,
               ran_with(Recording::first, "", wave_head(4) + data_head(2 * whole) + audio + low_first_4(first_whole)),
               second_well);
    expect_all(Call::fseek, 1,
               ran_with(Recording::first, "",
                        wave_head(4) + data_head(0) + audio + low_first_4(first_whole) + low_first_4(2 * whole)),
               both_at_end);
    expect_one(Call::fseek, 2, first_behind, second_well);
    expect_all(Call::fseek, 2, first_behind, both_at_end);
    expect_one(Call::fseek, 3, first_well, second_at_end);
    expect_all(Call::fseek, 3, first_well, both_at_end);
    expect_one(Call::fseek, 4, first_well, second_behind);
    expect_all(Call::fseek, 4, first_well, second_behind);
}
