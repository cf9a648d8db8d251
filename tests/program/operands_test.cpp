// SPDX-License-Identifier: MIT
// File operands: several in a run, files that cannot be read or written, and what the output is called. Every output
// name, tests/player/sink_test.cpp holds.
#include <gmock/gmock.h>

#include <filesystem>

#include "program/scenario.h"
#include "support/wave.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

namespace fs = std::filesystem;

const Bytes one_frame = raw_recording({frame(1)});

// What is printed behind the start-up.
std::string files_part(const Outcome& outcome) {
    const std::string start = convert_start_up();
    EXPECT_EQ(outcome.out.substr(0, start.size()), start);
    return outcome.out.substr(start.size());
}

std::string converted_line(const std::string& path, const std::string& output) {
    return "Converting file '" + path + "' to '" + output + "': |\b/\bDONE\n";
}

TEST(Operands, AreConvertedFromLeftToRight) {
    const Scenario scenario({"-W", "b.ambe", "a.dvtool", "b.ambe"});
    scenario.add_file("b.ambe", one_frame);
    scenario.add_file("a.dvtool", dvtool_recording({record(frame(2))}));
    const Outcome outcome = scenario.run();
    EXPECT_EQ(files_part(outcome), converted_line("b.ambe", "b.wav") +
                                       "Converting file 'a.dvtool' (DVTOOL) to 'a.wav': |\b/\bDONE\n" +
                                       converted_line("b.ambe", "b.wav"));
    EXPECT_EQ(outcome.err, convert_teardown(3));
    EXPECT_THAT(frames_sent(outcome.calls), ElementsAre(frame(1), frame(2), frame(1)));
}

TEST(Operands, ArePlayedFromLeftToRight) {
    const Scenario scenario({"a.ambe", "b.dvtool", "missing"});
    scenario.add_file("a.ambe", one_frame);
    scenario.add_file("b.dvtool", dvtool_recording({record(frame(2))}));
    const Outcome outcome = scenario.run();
    EXPECT_EQ(outcome.out, play_start_up() +
                               "Playing file 'a.ambe': |\b/\bDONE\n"
                               "Playing file 'b.dvtool' (DVTOOL): |\b/\bDONE\n"
                               "Playing file 'missing': NOT FOUND\n");
    EXPECT_EQ(outcome.err, play_teardown(2));
}

TEST(Operands, FileThatFailsNeitherStopsTheRunNorTouchesTheVocoderNorLeavesAnOutput) {
    const Scenario scenario({"-W", "missing.ambe", "short.ambe", "", "dir", "blocked.ambe", "good.ambe"});
    scenario.add_file("short.ambe", zeros(9));
    scenario.add_file("good.ambe", one_frame);
    scenario.add_file("blocked.ambe", one_frame);
    fs::create_directory(scenario / "dir");
    fs::create_directory(scenario / "blocked.wav");
    const Outcome outcome = scenario.run();
    EXPECT_EQ(files_part(outcome),
              "Converting file 'missing.ambe': NOT FOUND\n"
              "Converting file 'short.ambe': SHORT FILE\n"
              "Converting file '': NOT FOUND\n"
              "Converting file 'dir': SHORT FILE\n"
              "Converting file 'blocked.ambe' to 'blocked.wav': CANNOT CREATE\n" +
                  converted_line("good.ambe", "good.wav"));
    EXPECT_EQ(outcome.err, "Unable to create file 'blocked.wav' !\n" + convert_teardown());
    EXPECT_EQ(outcome.calls,
              start_calls() + file_start_calls + received(48, "5") + sent(frame(1)) + file_end_calls + end_calls);
    EXPECT_EQ(outcome.status, 0);
    for (const char* name : {"missing.wav", "short.wav", ".wav", "dir.wav"}) EXPECT_FALSE(scenario.has_file(name));
}

TEST(Operands, OutputStandsWhereTheLastDotOfThePathIs) {
    const std::string deep = std::string(100, 'd') + "/" + std::string(200, 'e') + "/rec";
    for (const auto& [path, output] : {
             std::pair<std::string, std::string>{"dir.v/rec.2026.ambe", "dir.v/rec.2026.wav"},
             {"dir.v/rec",           "dir.wav"           },
             {"./rec",               ".wav"              },
             {"100%s %n.ambe",       "100%s %n.wav"      },
             {deep + ".ambe",        deep + ".wav"       }
    }) {
        Scenario scenario({"-W", path});
        fs::create_directories((fs::path(scenario.dir.path()) / path).parent_path());
        scenario.add_file(path, one_frame);
        EXPECT_EQ(files_part(scenario.run()), converted_line(path, output));
        EXPECT_EQ(scenario.file(path), one_frame);
        EXPECT_EQ(scenario.file(output).size(), 36U);
    }
}

TEST(Operands, OutputReplacesWhatWasThere) {
    const Scenario scenario({"-W", "rec.ambe"});
    scenario.add_file("rec.ambe", one_frame);
    scenario.add_file("rec.wav", Bytes(5000, 0x77));
    scenario.run();
    EXPECT_EQ(scenario.file("rec.wav"), pcm_file({}));
}

TEST(Operands, NameWithoutADotAndOneThatEndsInWavAreConvertedOntoThemselves) {
    for (const std::string name : {"rec", "rec.wav"}) {
        const Scenario scenario({"-W", name});
        scenario.add_file(name, raw_recording(frames(10)));
        const Outcome outcome = scenario.run();
        // Truncated before its first frame is read.
        EXPECT_EQ(files_part(outcome), "Converting file '" + name + "' to '" + name + "': |\bDONE\n");
        EXPECT_THAT(frames_sent(outcome.calls), IsEmpty());
        EXPECT_EQ(scenario.file(name), pcm_file({}));
    }
}

// A path of `length` characters to `name`: "./" again and again.
std::string long_path(std::size_t length, const std::string& name = "rec.ambe") {
    std::string path;
    while (path.size() + 2 + name.size() <= length) path += "./";
    if (path.size() + name.size() < length) path += "/";
    return path + name;
}

TEST(Operands, PathsLongerThan127CharactersWork) {
    for (const std::size_t length : {126U, 127U, 128U, 129U, 255U, 256U, 1000U, 4090U, 4095U}) {
        const std::string path = long_path(length);
        ASSERT_EQ(path.size(), length);
        const Scenario scenario({"-W", path});
        scenario.add_file("rec.ambe", one_frame);
        EXPECT_EQ(files_part(scenario.run()), converted_line(path, path.substr(0, length - 5) + ".wav"));
        EXPECT_TRUE(scenario.has_file("rec.wav"));
    }
}

TEST(Operands, ExtensionShorterThanWavMayMakeThePathTooLong) {
    const std::string path = long_path(4095, "rec.a");  // as long as a path may be; the output's is two longer
    const std::string output = path.substr(0, path.size() - 2) + ".wav";
    const Scenario scenario({"-W", path});
    scenario.add_file("rec.a", one_frame);
    const Outcome outcome = scenario.run();
    EXPECT_EQ(files_part(outcome), "Converting file '" + path + "' to '" + output + "': CANNOT CREATE\n");
    EXPECT_EQ(outcome.err, "Unable to create file '" + output + "' !\n");
}

TEST(Operands, PathsLongerThanTheSystemTakesAreNotFound) {
    for (const std::size_t length : {4096U, 4097U, 5000U, 100000U}) {
        const std::string path = long_path(length);
        const Scenario scenario({"-W", path});
        scenario.add_file("rec.ambe", one_frame);
        const Outcome outcome = scenario.run();
        EXPECT_EQ(files_part(outcome), "Converting file '" + path + "': NOT FOUND\n");
        EXPECT_EQ(outcome.status, 0);
    }
}

}  // namespace
