// SPDX-License-Identifier: MIT
// The calls that a run without a fault makes. The other tests of this room make each of them fail in turn; a call that
// is missing here would be one that they do not reach.
#include <gmock/gmock.h>

#include "faults/expected.h"

namespace {

struct CountRow {
    Call call;
    int convert;
    int play;
};

// Two recordings with 11 and 6 packets, 4 and 3 turns, 4 and 3 attempts to read a frame.
constexpr CountRow count_rows[] = {
    {Call::allocation, 6,  3 }, // stream and IBUFF, then name and RiffFile of each file; or the audio control
    {Call::fopen,      7,  3 }, // a raw recording is opened twice, a WAVE file truncated and opened
    {Call::fread,      7,  7 }, // the attempts
    {Call::tcgetattr,  3,  3 }, // the line, then the keyboard for each file
    {Call::tcsetattr,  9,  9 }, // the line raw, local, without flow control, its speed, put back; the keyboard 2 x 2
    {Call::select,     41, 41}, // the keyboard at each turn, the line before each read
    {Call::read,       35, 35}, // two for each packet, one key
    {Call::write,      10, 10}, // the greeting, start and stop of each file, 5 frames
};

void expect_counts(Mode mode) {
    const RunResult found = run({.mode = mode});
    for (const CountRow& row : count_rows) {
        EXPECT_EQ(found.report.calls_of(row.call), mode == Mode::convert ? row.convert : row.play)
            << call_name(row.call);
    }
    EXPECT_EQ(found.report.frames_heard, 5);
    EXPECT_EQ(found.report.vocoder_starts, 1);
}

}  // namespace

TEST(CallCounts, ConversionMakesTheseCalls) {
    expect_counts(Mode::convert);
}

TEST(CallCounts, PlaybackMakesTheseCalls) {
    expect_counts(Mode::play);
}

TEST(CallCounts, RunWithoutAFaultIsWhole) {
    for (const Mode mode : {Mode::convert, Mode::play}) {
        expect_run({.mode = mode}, run_of(mode, ran_well(mode, Recording::first), ran_well(mode, Recording::second)));
    }
}
