// SPDX-License-Identifier: MIT
// Memory that runs out at start-up and in front of a file: the message, the status, and what is not called any more.
#include <gmock/gmock.h>

#include <map>

#include "program/recordings.h"
#include "program/scenario.h"

namespace {

using testing::Contains;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Key;
using testing::Not;

constexpr int more_allocations_than_there_are = 30;

// What the program says on standard error, by outcome, when each of its allocations in turn is the one that fails.
std::map<std::string, Outcome> outcomes(const Lines& options) {
    std::map<std::string, Outcome> by_error;
    for (int failing = 1; failing <= more_allocations_than_there_are; failing++) {
        ThreeFrames scenario(options);
        scenario.environment = {
            {"LD_PRELOAD",        WATCHED_MEMORY         },
            {"QUAVER_TEST_FAILS", std::to_string(failing)}
        };
        const Outcome outcome = scenario.run();
        EXPECT_EQ(outcome.signal, 0) << failing;
        by_error[outcome.err] = outcome;
    }
    return by_error;
}

void expect_refusal(const std::map<std::string, Outcome>& found, const std::string& message) {
    ASSERT_THAT(found, Contains(Key(message)));
    const Outcome& outcome = found.at(message);
    EXPECT_EQ(outcome.status, 255) << message;
    EXPECT_THAT(outcome.calls, IsEmpty()) << message;
}

TEST(Memory, CodecStreamThatCannotBeHadEndsTheProgramWithStatus255) {
    const std::string sorry = "Sorry, format Linear PCM not supported !\n";
    const auto found = outcomes({"-W"});
    expect_refusal(found, "Out of memory for codec stream !\n" + sorry);
    expect_refusal(found, "Out of memory for IBUFF of 1024 !\n" + sorry);
    EXPECT_EQ(found.at("Out of memory for codec stream !\n" + sorry).out, banner());
    EXPECT_EQ(found.at("Out of memory for IBUFF of 1024 !\n" + sorry).out, banner() + codec_line());
}

TEST(Memory, CodecThatCannotBeHadIsCalledByItsDisplayName) {
    const std::string sorry = "Sorry, format G.711 U-LAW not supported !\n";
    const auto found = outcomes({"-W", "-F", "ulaw"});
    for (const char* what :
         {"codec stream", "LAW CB", "LAW Encode Map", "LAW Decode Map", "IBUFF of 2048", "OBUFF of 1024"}) {
        expect_refusal(found, std::string("Out of memory for ") + what + " !\n" + sorry);
    }
    expect_refusal(outcomes({"-W", "-F", "alaw"}),
                   "Out of memory for LAW CB !\nSorry, format G.711 A-LAW not supported !\n");
    expect_refusal(outcomes({"-W", "-F", "adpcm"}),
                   "Out of memory for ADPCM CB !\nSorry, format IMA ADPCM not supported !\n");
}

TEST(Memory, AudioControlThatCannotBeHadEndsTheProgramWithStatus255) {
    const auto found = outcomes({});
    expect_refusal(found, "MCI: out of memory for Audio control !\n");
    EXPECT_EQ(found.at("MCI: out of memory for Audio control !\n").out,
              banner() + codec_line() + "\nNo audio devices detected.\n");
}

TEST(Memory, RiffFileThatCannotBeHadFailsTheFileOnly) {
    const auto found = outcomes({"-W"});
    ASSERT_THAT(found, Contains(Key("Out of memory for RIFF file !\n")));
    const Outcome& outcome = found.at("Out of memory for RIFF file !\n");
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.out, convert_start_up() + "Converting file 'rec.ambe' to 'rec.wav': CANNOT CREATE\n");
    EXPECT_EQ(outcome.calls, start_calls() + end_calls);
}

TEST(Memory, OutputNameThatCannotBeHadFailsTheFileOnly) {
    const auto found = outcomes({"-W"});
    ASSERT_THAT(found, Contains(Key("")));
    const Outcome& outcome = found.at("");
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.out, convert_start_up() + "Converting file 'rec.ambe': CANNOT CREATE\n");
    EXPECT_EQ(outcome.calls, start_calls() + end_calls);
}

// How often the program asks for memory while the vocoder answers `count` frames with a block each.
std::string allocations_for(int count) {
    Scenario scenario;
    scenario.add_file("rec.ambe", raw_recording(frames(count)));
    scenario.arguments = {"-W", "-F", "adpcm", "rec.ambe"};
    for (int i = 0; i < count; i++) scenario.script += "recv 48 5\nrecv 320 4\n";
    scenario.script += "rest 48 5\n";
    scenario.environment = {
        {"LD_PRELOAD",            WATCHED_MEMORY        },
        {"QUAVER_TEST_ALLOCATED", scenario / "allocated"}
    };
    EXPECT_THAT(scenario.run().out, HasSubstr(spinner(count + 1) + "DONE\n"));
    const Bytes text = scenario.file("allocated");
    return {text.begin(), text.end()};
}

TEST(Memory, OnceAFileRunsNothingIsAllocated) {
    const std::string for_one_frame = allocations_for(1);
    EXPECT_GT(std::stoi(for_one_frame), 0);
    EXPECT_EQ(allocations_for(200), for_one_frame);
}

// The blocks that are given back, among the calls of the vocoder library.
Lines calls_and_releases(const Lines& options, const std::string& script = "") {
    Scenario scenario;
    scenario.arguments = options + std::string("missing.ambe");
    scenario.script = script;
    scenario.environment = {
        {"LD_PRELOAD",           WATCHED_MEMORY},
        {"QUAVER_TEST_RELEASES", "1"           }
    };
    return scenario.run().calls;
}

TEST(Memory, AudioControlIsReleasedAfterTheDongleIsClosedAndTheCodecStreamNever) {
    EXPECT_EQ(calls_and_releases(play_mode), start_calls() + end_calls + "free");
    EXPECT_EQ(calls_and_releases({"-W"}), start_calls() + end_calls);
}

TEST(Memory, AudioControlIsNotReleasedWhenTheVocoderCannotBeHad) {
    EXPECT_EQ(calls_and_releases(play_mode, "init -1\n"),
              (Lines{"dongle_debug(0)", "dongle_init(/dev/ttyUSB0, 230400)"}));
}

}  // namespace
