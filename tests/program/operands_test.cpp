// SPDX-License-Identifier: MIT
// File operands: several in a run, files that cannot be read or written, and what the output is called.
#include <gmock/gmock.h>

#include <filesystem>

#include "program/recordings.h"
#include "program/scenario.h"

namespace {

using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;

namespace fs = std::filesystem;

// What is printed behind the start-up.
std::string files_part(const Outcome& outcome) {
    const std::string start = convert_start_up();
    EXPECT_EQ(outcome.out.substr(0, start.size()), start);
    return outcome.out.substr(start.size());
}

Outcome converted(const std::string& path, const Bytes& content) {
    Scenario scenario;
    fs::create_directories((fs::path(scenario.dir.path()) / path).parent_path());
    scenario.add_file(path, content);
    scenario.arguments = {"-W", path};
    scenario.script = "rest 48 5\n";
    return scenario.run();
}

const Bytes one_frame = raw_recording({frame(1)});

TEST(Operands, AreConvertedFromLeftToRight) {
    Scenario scenario;
    scenario.add_file("b.ambe", raw_recording({frame(1)}));
    scenario.add_file("a.dvtool", dvtool_recording({record(frame(2))}));
    scenario.arguments = {"-W", "b.ambe", "a.dvtool", "b.ambe"};
    scenario.script = "rest 48 5\n";
    const Outcome outcome = scenario.run();
    EXPECT_EQ(files_part(outcome),
              "Converting file 'b.ambe' to 'b.wav': |\b/\bDONE\n"
              "Converting file 'a.dvtool' (DVTOOL) to 'a.wav': |\b/\bDONE\n"
              "Converting file 'b.ambe' to 'b.wav': |\b/\bDONE\n");
    EXPECT_EQ(outcome.err, convert_teardown(3));
    EXPECT_THAT(frames_sent(outcome.calls), ElementsAre(frame(1), frame(2), frame(1)));
}

TEST(Operands, ArePlayedFromLeftToRight) {
    Scenario scenario;
    scenario.add_file("a.ambe", raw_recording({frame(1)}));
    scenario.add_file("b.dvtool", dvtool_recording({record(frame(2))}));
    scenario.arguments = {"a.ambe", "b.dvtool", "missing"};
    scenario.script = "rest 48 5\n";
    const Outcome outcome = scenario.run();
    EXPECT_EQ(outcome.out, play_start_up() +
                               "Playing file 'a.ambe': |\b/\bDONE\n"
                               "Playing file 'b.dvtool' (DVTOOL): |\b/\bDONE\n"
                               "Playing file 'missing': NOT FOUND\n");
    EXPECT_EQ(outcome.err, play_teardown(2));
}

TEST(Operands, FileThatFailsDoesNotStopTheRun) {
    Scenario scenario;
    scenario.add_file("short.ambe", zeros(9));
    scenario.add_file("good.ambe", one_frame);
    scenario.add_file("blocked.ambe", one_frame);
    fs::create_directory(scenario / "blocked.wav");
    scenario.arguments = {"-W", "missing.ambe", "short.ambe", "blocked.ambe", "good.ambe"};
    scenario.script = "rest 48 5\n";
    const Outcome outcome = scenario.run();
    EXPECT_EQ(files_part(outcome),
              "Converting file 'missing.ambe': NOT FOUND\n"
              "Converting file 'short.ambe': SHORT FILE\n"
              "Converting file 'blocked.ambe' to 'blocked.wav': CANNOT CREATE\n"
              "Converting file 'good.ambe' to 'good.wav': |\b/\bDONE\n");
    EXPECT_EQ(outcome.err, "Unable to create file 'blocked.wav' !\n" + convert_teardown());
    EXPECT_EQ(outcome.calls,
              start_calls() + file_start_calls + received(48, "5") + sent(frame(1)) + file_end_calls + end_calls);
    EXPECT_EQ(outcome.status, 0);
}

TEST(Operands, VocoderIsNotTouchedForAFileThatCannotBeStarted) {
    Scenario scenario;
    scenario.add_file("rec.ambe", one_frame);
    fs::create_directory(scenario / "rec.wav");
    scenario.arguments = {"-W", "rec.ambe"};
    EXPECT_EQ(scenario.run().calls, start_calls() + end_calls);
}

TEST(Operands, MissingAndShortFilesLeaveNoOutput) {
    for (const std::size_t size : {0U, 1U, 9U}) {
        Scenario scenario;
        scenario.add_file("rec.ambe", zeros(size));
        scenario.arguments = {"-W", "rec.ambe", "missing.ambe"};
        EXPECT_EQ(files_part(scenario.run()),
                  "Converting file 'rec.ambe': SHORT FILE\nConverting file 'missing.ambe': NOT FOUND\n");
        EXPECT_FALSE(scenario.has_file("rec.wav"));
        EXPECT_FALSE(scenario.has_file("missing.wav"));
    }
}

TEST(Operands, EmptyNameIsNotFound) {
    Scenario scenario;
    scenario.arguments = {"-W", ""};
    EXPECT_EQ(files_part(scenario.run()), "Converting file '': NOT FOUND\n");
}

TEST(Operands, DirectoryIsAShortFile) {
    Scenario scenario;
    fs::create_directory(scenario / "dir");
    scenario.arguments = {"-W", "dir"};
    EXPECT_EQ(files_part(scenario.run()), "Converting file 'dir': SHORT FILE\n");
}

TEST(Operands, LastExtensionIsReplaced) {
    EXPECT_THAT(converted("rec.dvtool", one_frame).out, HasSubstr(" to 'rec.wav': "));
    EXPECT_THAT(converted("rec.2026.ambe", one_frame).out, HasSubstr(" to 'rec.2026.wav': "));
    EXPECT_THAT(converted("rec.", one_frame).out, HasSubstr(" to 'rec.wav': "));
    EXPECT_THAT(converted("rec.a", one_frame).out, HasSubstr(" to 'rec.wav': "));
    EXPECT_THAT(converted(".ambe", one_frame).out, HasSubstr(" to '.wav': "));
    EXPECT_THAT(converted("dir/rec.ambe", one_frame).out, HasSubstr(" to 'dir/rec.wav': "));
    EXPECT_THAT(converted("dir.v/rec.ambe", one_frame).out, HasSubstr(" to 'dir.v/rec.wav': "));
}

TEST(Operands, LastDotMayStandInTheDirectory) {
    EXPECT_THAT(converted("dir.v/rec", one_frame).out, HasSubstr("'dir.v/rec' to 'dir.wav': |\b/\bDONE\n"));
    EXPECT_THAT(converted("a.b/c.d/rec", one_frame).out, HasSubstr(" to 'a.b/c.wav': |\b/\bDONE\n"));
}

TEST(Operands, PathOfTheWorkingDirectoryGivesAFileNamedWav) {
    Scenario scenario;
    scenario.add_file("rec", one_frame);
    scenario.arguments = {"-W", "./rec"};
    scenario.script = "rest 48 5\n";
    EXPECT_EQ(files_part(scenario.run()), "Converting file './rec' to '.wav': |\b/\bDONE\n");
    EXPECT_TRUE(scenario.has_file(".wav"));
    EXPECT_EQ(scenario.file("rec"), one_frame);
}

TEST(Operands, OutputIsCreatedBesideTheNameAndReplacesWhatWasThere) {
    Scenario scenario;
    scenario.add_file("rec.ambe", one_frame);
    scenario.add_file("rec.wav", Bytes(5000, 0x77));
    scenario.arguments = {"-W", "rec.ambe"};
    scenario.script = "rest 48 5\n";
    scenario.run();
    EXPECT_EQ(scenario.file("rec.wav").size(), 36U);
    EXPECT_EQ(scenario.file("rec.ambe"), one_frame);
}

TEST(Operands, NameWithoutADotIsConvertedOntoItself) {
    Scenario scenario;
    scenario.add_file("rec", raw_recording(frames(10)));
    scenario.arguments = {"-W", "rec"};
    scenario.script = "rest 48 5\n";
    const Outcome outcome = scenario.run();
    // Truncated before its first frame is read.
    EXPECT_EQ(files_part(outcome), "Converting file 'rec' to 'rec': |\bDONE\n");
    EXPECT_THAT(frames_sent(outcome.calls), IsEmpty());
    const Bytes wave = scenario.file("rec");
    EXPECT_EQ(wave.size(), 36U);
    EXPECT_EQ(Bytes(wave.begin(), wave.begin() + 4), bytes_of("RIFF"));
}

TEST(Operands, NameThatEndsInWavIsConvertedOntoItself) {
    Scenario scenario;
    scenario.add_file("rec.wav", raw_recording(frames(10)));
    scenario.arguments = {"-W", "rec.wav"};
    scenario.script = "rest 48 5\n";
    EXPECT_EQ(files_part(scenario.run()), "Converting file 'rec.wav' to 'rec.wav': |\bDONE\n");
    EXPECT_EQ(scenario.file("rec.wav").size(), 36U);
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
        Scenario scenario;
        scenario.add_file("rec.ambe", one_frame);
        const std::string path = long_path(length);
        ASSERT_EQ(path.size(), length);
        scenario.arguments = {"-W", path};
        scenario.script = "rest 48 5\n";
        const std::string output = path.substr(0, length - 5) + ".wav";
        EXPECT_EQ(files_part(scenario.run()), "Converting file '" + path + "' to '" + output + "': |\b/\bDONE\n");
        EXPECT_TRUE(scenario.has_file("rec.wav"));
    }
}

TEST(Operands, DeepDirectoriesWork) {
    const std::string directory = std::string(100, 'd') + "/" + std::string(200, 'e');
    EXPECT_THAT(converted(directory + "/rec.ambe", one_frame).out,
                EndsWith("' to '" + directory + "/rec.wav': |\b/\bDONE\n"));
}

TEST(Operands, ExtensionShorterThanWavMayMakeThePathTooLong) {
    Scenario scenario;
    scenario.add_file("rec.a", one_frame);
    const std::string path = long_path(4095, "rec.a");  // as long as a path may be; the output's is two longer
    scenario.arguments = {"-W", path};
    const Outcome outcome = scenario.run();
    const std::string output = path.substr(0, path.size() - 2) + ".wav";
    EXPECT_EQ(files_part(outcome), "Converting file '" + path + "' to '" + output + "': CANNOT CREATE\n");
    EXPECT_EQ(outcome.err, "Unable to create file '" + output + "' !\n");
}

TEST(Operands, PathsLongerThanTheSystemTakesAreNotFound) {
    for (const std::size_t length : {4096U, 4097U, 5000U, 100000U}) {
        Scenario scenario;
        scenario.add_file("rec.ambe", one_frame);
        const std::string path = long_path(length);
        scenario.arguments = {"-W", path};
        const Outcome outcome = scenario.run();
        EXPECT_EQ(files_part(outcome), "Converting file '" + path + "': NOT FOUND\n");
        EXPECT_EQ(outcome.status, 0);
    }
}

TEST(Operands, NamesWithPercentSignsAndSpacesArePrintedAsTheyAre) {
    EXPECT_THAT(converted("100%s %n.ambe", one_frame).out,
                EndsWith("Converting file '100%s %n.ambe' to '100%s %n.wav': |\b/\bDONE\n"));
}

TEST(Operands, OutputOnAFullDiskStillEndsTheRunNormally) {
    Scenario scenario;
    scenario.add_file("rec.ambe", raw_recording(frames(3)));
    fs::create_symlink("/dev/full", scenario / "rec.wav");
    scenario.arguments = {"-W", "rec.ambe"};
    scenario.script = "recv 48 5\nrecv 320 4 20\nrest 48 5\n";
    const Outcome outcome = scenario.run();
    EXPECT_EQ(files_part(outcome), "Converting file 'rec.ambe' to 'rec.wav': |\b/\b-\b\\\bDONE\n");
    EXPECT_EQ(outcome.err, convert_teardown());
    EXPECT_EQ(outcome.status, 0);
}

TEST(Operands, SeveralHundredFilesInARun) {
    Scenario scenario;
    scenario.arguments = {"-W"};
    for (int i = 0; i < 300; i++) {
        const std::string name = std::to_string(i) + ".ambe";
        scenario.add_file(name, raw_recording({frame(i % 256)}));
        scenario.arguments.push_back(name);
    }
    scenario.script = "rest 48 5\n";
    const Outcome outcome = scenario.run();
    EXPECT_EQ(outcome.err, convert_teardown(300));
    EXPECT_EQ(frames_sent(outcome.calls).size(), 300U);
}

}  // namespace
