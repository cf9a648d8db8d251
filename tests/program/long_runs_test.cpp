// SPDX-License-Identifier: MIT
// Runs over very many recordings, and recordings that never seem to end.
#include <gmock/gmock.h>

#include "program/scenario.h"

namespace {

using testing::EndsWith;

constexpr int many_recordings = 10000;
// Less than a hundred bytes a recording. The arguments alone are 220 KB, and a peak varies by as much with what the system
// maps of files at once.
constexpr long most_growth_kilobytes = 880;

// Each recording is converted onto the same file and ends in a time-out packet.
Outcome run_over(int recordings) {
    ThreeFrames scenario;
    scenario.arguments.insert(scenario.arguments.end(), static_cast<std::size_t>(recordings - 1), "rec.ambe");
    scenario.script = "count_descriptors\ncount_memory\nrecv 48 5\nrecv 320 4 4\nrecv 34 1\nagain\n";
    return scenario.run();
}

// The last line of the log, "VmHWM: 3456 kB".
long peak_kilobytes(const Outcome& outcome) {
    const std::string& line = outcome.calls.back();
    EXPECT_EQ(line.substr(0, 6), "VmHWM:");
    const long kilobytes = std::stol(line.substr(6));
    std::printf("%ld KB at the most\n", kilobytes);
    return kilobytes;
}

}  // namespace

TEST(LongRuns, TenThousandRecordingsTakeNoMoreDescriptorsAndNoMoreMemoryThanAThousand) {
    const Outcome thousand = run_over(many_recordings / 10);
    const Outcome all = run_over(many_recordings);
    EXPECT_EQ(all.status, 0);
    EXPECT_EQ(calls_starting_with(all.calls, "dongle_run(1)").size(), static_cast<std::size_t>(many_recordings));
    EXPECT_EQ(all.calls[2], all.calls[all.calls.size() - 2]);  // the open descriptors, at start-up and at the end
    if (QUAVER_INSTRUMENTED) return;                           // the sanitizers keep what was freed
    EXPECT_LT(peak_kilobytes(all) - peak_kilobytes(thousand), most_growth_kilobytes);
}

// The vocoder answers with silence, which the reader, once it has come to the WAVE file that it is converted onto,
// takes for records of length 0: each of them a frame that makes more silence.
TEST(LongRuns, RecordingThatIsConvertedOntoItselfEnds) {
    for (const char* name : {"evil.wav", "evil"}) {
        Scenario scenario;
        scenario.add_file(name, dvtool_recording(std::vector<Bytes>(340, record(frame(1)))));
        scenario.arguments = {"-W", name};
        scenario.script = "recv 48 5\nrecv 320 4\nagain\n";
        const Outcome outcome = scenario.run();
        EXPECT_EQ(outcome.status, 0);
        EXPECT_THAT(outcome.out, EndsWith("DONE\n"));
        // Of the 9.9 KB that it had, no more than 4900 frames come; 65536 come from beyond, 320 bytes each.
        const std::size_t size = scenario.file(name).size();
        EXPECT_GT(size, 65536u * 320);
        EXPECT_LT(size, (65536u + 4900u) * 320);
    }
}
