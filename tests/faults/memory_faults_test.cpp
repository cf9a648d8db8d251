// SPDX-License-Identifier: MIT
// Each allocation of the program fails, alone and with all that follow.
#include <gmock/gmock.h>

#include "faults/expected.h"

namespace {

// What is wanted at start-up, in order, as the messages have it.
using Wants = std::vector<std::string>;
const Wants pcm_wants = {"codec stream", "IBUFF of 1024"};
const Wants law_wants = {"codec stream",   "LAW CB",        "LAW Encode Map",
                         "LAW Decode Map", "IBUFF of 2048", "OBUFF of 1024"};
const Wants adpcm_wants = {"codec stream", "ADPCM CB", "IBUFF of 4096", "OBUFF of 1024"};
const Wants gsm_wants = {"codec stream", "GSM CB", "IBUFF of 640", "OBUFF of 65"};

struct FormatRow {
    const char* option;
    const char* name;
    const Wants& wants;
};

const FormatRow format_rows[] = {
    {"pcm",   "Linear PCM",  pcm_wants  },
    {"alaw",  "G.711 A-LAW", law_wants  },
    {"ulaw",  "G.711 U-LAW", law_wants  },
    {"adpcm", "IMA ADPCM",   adpcm_wants},
    {"gsm",   "GSM 06.10",   gsm_wants  },
};

constexpr int name_allocation = 3;  // of the first file, when the format is linear PCM
constexpr int riff_allocation = 4;
constexpr int allocations_of_a_file = 2;

const std::string no_riff_memory = "Out of memory for RIFF file !\n";

FileOutcome without_name(Recording recording, const std::string& form) {
    return without_wave(refused(Mode::convert, recording, form + ": CANNOT CREATE\n"));
}

FileOutcome without_record(Recording recording, const std::string& rest) {
    return with_wave(refused(Mode::convert, recording, rest + "CANNOT CREATE\n", no_riff_memory), {});
}

// The allocation with that number of the first file, or its like of the second, fails. `second_after_all`: the second
// file when all that follow the first one's fail.
void expect_files_failed(int number, const FileOutcome& first, const FileOutcome& second,
                         const FileOutcome& second_after_all) {
    expect_run({.fault = only(Call::allocation, number)},
               run_of(Mode::convert, first, ran_well(Mode::convert, Recording::second)));
    expect_run({.fault = from(Call::allocation, number)}, run_of(Mode::convert, first, second_after_all));
    for (const bool lasting : {false, true}) {
        expect_run({.fault = failing(Call::allocation, number + allocations_of_a_file, lasting)},
                   run_of(Mode::convert, ran_well(Mode::convert, Recording::first), second));
    }
}

}  // namespace

TEST(MemoryFaults, CodecThatCannotBeHadEndsTheProgramWithStatus255) {
    for (const FormatRow& row : format_rows) {
        SCOPED_TRACE(row.name);
        const std::string sorry = std::string("Sorry, format ") + row.name + " not supported !\n";
        int number = 0;
        for (const std::string& what : row.wants) {
            number++;
            const std::string said = number == 1 ? banner() : banner() + codec_line(row.name);
            const std::string complaint = "Out of memory for " + what + " !\n";
            for (const bool lasting : {false, true}) {
                expect_run({.format = row.option, .fault = failing(Call::allocation, number, lasting)},
                           ended_at_start(said, complaint + sorry));
            }
        }
        // Nothing else is asked for before the files.
        const RunResult whole = run({.format = row.option});
        EXPECT_EQ(whole.report.calls_of(Call::allocation), number + 2 * allocations_of_a_file);
    }
}

TEST(MemoryFaults, AudioControlThatCannotBeHadEndsTheProgramWithStatus255) {
    for (const bool lasting : {false, true}) {
        expect_run({.mode = Mode::play, .fault = failing(Call::allocation, 3, lasting)},
                   ended_at_start(banner() + codec_line() + "\nNo audio devices detected.\n",
                                  "MCI: out of memory for Audio control !\n"));
    }
}

TEST(MemoryFaults, PlaybackThatHasStartedAsksForNoMemory) {
    expect_run({.mode = Mode::play, .fault = from(Call::allocation, 4)},
               run_of(Mode::play, ran_well(Mode::play, Recording::first), ran_well(Mode::play, Recording::second)));
}

TEST(MemoryFaults, OutputNameThatCannotBeHadFailsThatFile) {
    const FileOutcome second = without_name(Recording::second, " (DVTOOL)");
    expect_files_failed(name_allocation, without_name(Recording::first, ""), second, second);
}

TEST(MemoryFaults, RiffRecordThatCannotBeHadFailsThatFileAndLeavesItEmpty) {
    expect_files_failed(riff_allocation, without_record(Recording::first, " to 'rec.wav': "),
                        without_record(Recording::second, " (DVTOOL) to 'b.wav': "),
                        without_name(Recording::second, " (DVTOOL)"));
}
