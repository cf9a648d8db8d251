// SPDX-License-Identifier: MIT
// Files that do not open and recordings that cannot be read.
#include <gmock/gmock.h>

#include "faults/expected.h"

namespace {

struct FileRow {
    int number;  // of the call that fails
    FileOutcome first;
    FileOutcome second_after_one;  // when no other call fails
    FileOutcome second_after_all;  // when the calls that follow fail too
};

FileOutcome not_found(Mode mode, Recording recording) {
    return without_wave(refused(mode, recording, ": NOT FOUND\n"));
}

// Whether there is an empty file then depends on what failed: its creation or the opening after it.
FileOutcome not_created(Recording recording) {
    return recording == Recording::first ? refused(Mode::convert, recording, " to 'rec.wav': CANNOT CREATE\n",
                                                   "Unable to create file 'rec.wav' !\n")
                                         : refused(Mode::convert, recording, " (DVTOOL) to 'b.wav': CANNOT CREATE\n",
                                                   "Unable to create file 'b.wav' !\n");
}

// It ended in front of its frame with that number, 1 to 3.
FileOutcome ended_before(Mode mode, Recording recording, int frame) {
    constexpr int packets_before_frame[] = {0, 1, 6};
    return ran(mode, recording, packets_before_frame[frame - 1]);
}

void expect_rows(Mode mode, Call call, const std::vector<FileRow>& rows) {
    for (const FileRow& row : rows) {
        expect_run({.mode = mode, .fault = only(call, row.number)}, run_of(mode, row.first, row.second_after_one));
        expect_run({.mode = mode, .fault = from(call, row.number)}, run_of(mode, row.first, row.second_after_all));
    }
}

class FileFaults : public testing::TestWithParam<Mode> {
  protected:
    const Mode mode = GetParam();
    const FileOutcome first_well = ran_well(mode, Recording::first);
    const FileOutcome second_well = ran_well(mode, Recording::second);

    // Ended in front of the frame with that number of its own.
    const FileOutcome first_before_1 = ended_before(mode, Recording::first, 1);
    const FileOutcome first_before_2 = ended_before(mode, Recording::first, 2);
    const FileOutcome first_before_3 = ended_before(mode, Recording::first, 3);
    const FileOutcome second_before_1 = ended_before(mode, Recording::second, 1);
    const FileOutcome second_before_2 = ended_before(mode, Recording::second, 2);
};

}  // namespace

TEST_P(FileFaults, FileThatDoesNotOpenFailsItsOwnRecordingOnly) {
    const FileOutcome first_lost = not_found(mode, Recording::first);
    const FileOutcome second_lost = not_found(mode, Recording::second);
    if (mode == Mode::play) {
        const std::vector<FileRow> rows = {
            {1, first_lost,     second_well, second_lost},
            {2, first_before_1, second_well, second_lost}, // raw form is opened again
            {3, first_well,     second_lost, second_lost},
        };
        return expect_rows(mode, Call::fopen, rows);
    }
    const FileOutcome first_missing = without_wave(not_created(Recording::first));
    const FileOutcome first_empty = with_wave(not_created(Recording::first), {});
    const FileOutcome second_missing = without_wave(not_created(Recording::second));
    const FileOutcome second_empty = with_wave(not_created(Recording::second), {});
    const std::vector<FileRow> rows = {
        {1, first_lost,    second_well,    second_lost   },
        {3, first_missing, second_well,    second_lost   },
        {4, first_empty,   second_well,    second_lost   },
        {5, first_well,    second_lost,    second_lost   },
        {6, first_well,    second_missing, second_missing},
        {7, first_well,    second_empty,   second_empty  },
    };
    expect_rows(mode, Call::fopen, rows);
    // Raw form is opened again; where that alone fails there is no frame.
    expect_run({.fault = only(Call::fopen, 2)}, run_of(mode, first_before_1, second_well));
    expect_run({.fault = from(Call::fopen, 2)}, run_of(mode, first_missing, second_lost));
}

// The result of the truncation is not looked at: what is there is written over and keeps its own end.
TEST(FilesThatDoNotOpen, WaveFileThatIsNotTruncatedKeepsItsOldEnd) {
    const Bytes proper = pcm_file(piece(1) + piece(2));
    const Bytes before(proper.size() + 100, 0xEE);
    expect_run({.fault = only(Call::fopen, 3), .first_wave_before = before},
               run_of(Mode::convert,
                      with_wave(ran_well(Mode::convert, Recording::first), proper + from_byte(before, proper.size())),
                      ran_well(Mode::convert, Recording::second)));
}

TEST_P(FileFaults, FrameThatCannotBeReadEndsItsRecording) {
    const std::vector<FileRow> rows = {
        {1, first_before_1, second_well,     second_before_1},
        {2, first_before_2, second_well,     second_before_1},
        {3, first_before_3, second_well,     second_before_1},
        {4, first_well,     second_well,     second_before_1}, // it was the end
        {5, first_well,     second_before_1, second_before_1},
        {6, first_well,     second_before_2, second_before_2},
        {7, first_well,     second_well,     second_well    },
    };
    expect_rows(mode, Call::fread, rows);
}

INSTANTIATE_TEST_SUITE_P(Modes, FileFaults, testing::Values(Mode::convert, Mode::play), mode_name);
