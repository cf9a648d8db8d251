// SPDX-License-Identifier: MIT
// The disk under the WAVE files fails at each thing that stdio asks of it. The program does not see it: texts and
// status stay as they are, and what the disk has taken stays as it is.
#include <gmock/gmock.h>

#include "faults/expected.h"
#include "program/recordings.h"

namespace {

constexpr std::size_t first_audio = 44;
constexpr unsigned first_whole = 44 + 2048;
constexpr int seeks_in_a_file = 4;  // one for the place of the data size, one for the outer size, two for the data size

const Bytes first_sizeless = wave_head(4) + data_head(0) + piece(1) + piece(2);
const Bytes second_sizeless = wave_head(4) + data_head(0) + piece(3);

const FileOutcome first_well = ran_well(Mode::convert, Recording::first);
const FileOutcome second_well = ran_well(Mode::convert, Recording::second);

// The file with zeros for its sizes.
Bytes without_sizes(Bytes wave) {
    for (const std::size_t size : {std::size_t{4}, std::size_t{40}}) {
        for (std::size_t i = size; i < size + 4 && i < wave.size(); i++) wave[i] = 0;
    }
    return wave;
}

// Whether what the disk took before the fault is still there.
void expect_beginning(const Bytes& found, const Bytes& whole, std::size_t taken) {
    ASSERT_GE(found.size(), taken);
    EXPECT_EQ(without_sizes(first_bytes(found, taken)), without_sizes(first_bytes(whole, taken)));
}

RunResult run_like_one_without_a_fault(const Fault& fault) {
    SCOPED_TRACE(std::string(call_name(fault.call)) + " " + std::to_string(fault.first));
    const Expected expected = run_of(Mode::convert, first_well, second_well);
    RunResult found = run({.fault = fault});
    EXPECT_EQ(found.status, 0);
    EXPECT_EQ(found.out, expected.out);
    EXPECT_EQ(found.err, expected.err);
    EXPECT_EQ(found.report.descriptors_after, found.report.descriptors_before);
    EXPECT_EQ(found.report.held_at_end, found.report.held_before_files);
    return found;
}

void expect_all(Call call, int number, const Bytes& first, const Bytes& second) {
    expect_run({.fault = from(call, number)},
               run_of(Mode::convert, with_wave(first_well, first), with_wave(second_well, second)));
}

}  // namespace

TEST(DiskFaults, DiskThatTakesNothingMoreLeavesABeginningOfEachFile) {
    const Bytes first_patched = wave_head(first_whole) + data_head(0) + piece(1) + piece(2);
    const Bytes second_patched = wave_head(44 + 1024) + data_head(0) + piece(3);
    const Bytes first_files[] = {{}, first_bytes(first_sizeless, first_audio + 1024), first_sizeless, first_patched};
    const Bytes second_files[] = {{}, second_sizeless, second_patched};
    int number = 1;
    for (const Bytes& file : first_files) expect_all(Call::disk_write, number++, file, {});
    for (const Bytes& file : second_files) {
        expect_all(Call::disk_write, number++, wave_of(piece(1) + piece(2)), file);
    }
}

// What was lost is not written again, and what comes later goes where the disk stands.
TEST(DiskFaults, WriteThatIsLostDamagesNothingThatWasWritten) {
    const Bytes first = wave_of(piece(1) + piece(2));
    const Bytes second = wave_of(piece(3));
    struct Taken {
        std::size_t of_first, of_second;
    };
    const Taken taken[] = {
        {0,                  second.size()}, // the first piece, with the head
        {first_audio + 1024, second.size()}, // the second
        {first.size(),       second.size()}, // the outer size
        {first.size(),       second.size()}, // the data size
        {first.size(),       0            }, // the same of the second file
        {first.size(),       second.size()},
        {first.size(),       second.size()},
    };
    int number = 1;
    for (const Taken& row : taken) {
        const RunResult found = run_like_one_without_a_fault(only(Call::disk_write, number++));
        expect_beginning(*found.first_wave, first, row.of_first);
        expect_beginning(*found.second_wave, second, row.of_second);
    }
}

TEST(DiskFaults, PlaceOfTheDataSizeThatIsNotToldLeavesThatSizeAtZero) {
    const Bytes first = wave_head(first_whole) + data_head(0) + piece(1) + piece(2);
    expect_run({.fault = only(Call::disk_seek, 1)}, run_of(Mode::convert, with_wave(first_well, first), second_well));
    // The outer size then goes where the file stands, at its end.
    expect_all(Call::disk_seek, 1, first_sizeless + low_first_4(first_whole), second_sizeless + low_first_4(44 + 1024));
}

TEST(DiskFaults, SeekThatFailsLeavesTheAudioAsItIs) {
    for (int number = 1; number <= 2 * seeks_in_a_file; number++) {
        for (const bool lasting : {false, true}) {
            const RunResult found = run_like_one_without_a_fault(failing(Call::disk_seek, number, lasting));
            const Bytes first = from_byte(*found.first_wave, first_audio);
            const Bytes second = from_byte(*found.second_wave, first_audio);
            EXPECT_EQ(first_bytes(first, 2048), piece(1) + piece(2));
            EXPECT_EQ(first_bytes(second, 1024), piece(3));
        }
    }
}

// Stdio reads a file that it also writes when it seeks in it.
TEST(DiskFaults, FileThatCannotBeReadBackIsWrittenAllTheSame) {
    const RunResult whole = run({});
    const int reads = whole.report.calls_of(Call::disk_read_back);
    for (int number = 1; number <= reads; number++) {
        for (const bool lasting : {false, true}) {
            expect_run({.fault = failing(Call::disk_read_back, number, lasting)},
                       run_of(Mode::convert, first_well, second_well));
        }
    }
}
