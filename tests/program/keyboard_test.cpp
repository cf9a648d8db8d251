// SPDX-License-Identifier: MIT
// The space key and the terminal, and every other thing that standard input can be.
#include <gmock/gmock.h>

#include "program/recordings.h"
#include "program/scenario.h"
#include "support/pty.h"

namespace {

using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;

constexpr int no_echo_wait_ms = 150;

// A run with keys pressed on a terminal while the second frame waits for the vocoder.
class RunWithKeys : public testing::Test {
  protected:
    RunWithKeys() {
        scenario.add_file("rec.ambe", raw_recording(frames(40)));
        scenario.arguments = {"-W", "rec.ambe"};
        scenario.input = terminal_input(terminal.path());
        scenario.script = "recv 48 5\ntouch waiting\nawait pressed\nrest 48 5\n";
        before = terminal.state();
    }

    Outcome run_pressing(const std::string& keys) {
        RunningProgram program(scenario.call());
        wait_for_file(scenario / "waiting");
        while_running = terminal.state();
        if (!keys.empty()) {
            terminal.send(keys);
            EXPECT_TRUE(terminal.has_input());
        }
        echo = terminal.receive(1, no_echo_wait_ms);
        scenario.add_file("pressed", {});
        Outcome outcome;
        static_cast<ProgramResult&>(outcome) = program.finish();
        outcome.calls = scenario.calls();
        return outcome;
    }

    Pty terminal;
    Scenario scenario;
    termios before = {};
    termios while_running = {};
    Bytes echo;
};

void expect_same_state(const termios& found, const termios& expected) {
    EXPECT_EQ(found.c_iflag, expected.c_iflag);
    EXPECT_EQ(found.c_oflag, expected.c_oflag);
    EXPECT_EQ(found.c_cflag, expected.c_cflag);
    EXPECT_EQ(found.c_lflag, expected.c_lflag);
    EXPECT_EQ(Bytes(found.c_cc, found.c_cc + NCCS), Bytes(expected.c_cc, expected.c_cc + NCCS));
    EXPECT_EQ(cfgetispeed(&found), cfgetispeed(&expected));
    EXPECT_EQ(cfgetospeed(&found), cfgetospeed(&expected));
}

TEST_F(RunWithKeys, SpaceStopsAtTheNextTurn) {
    const Outcome outcome = run_pressing(" ");
    EXPECT_EQ(outcome.out, convert_start_up() + "Converting file 'rec.ambe' to 'rec.wav': |\b/\b-\bSTOPPED\n");
    EXPECT_EQ(outcome.err, convert_teardown());
    EXPECT_THAT(frames_sent(outcome.calls), ElementsAre(frame(1), frame(2)));
    EXPECT_EQ(outcome.status, 0);
}

TEST_F(RunWithKeys, SpaceStopsPlayModeToo) {
    scenario.arguments = {"rec.ambe"};
    const Outcome outcome = run_pressing(" ");
    EXPECT_EQ(outcome.out, play_start_up() + "Playing file 'rec.ambe': |\b/\b-\bSTOPPED\n");
    EXPECT_EQ(outcome.err, play_teardown());
}

TEST_F(RunWithKeys, SpaceClosesTheWaveFileProperly) {
    scenario.blocks = test_blocks(4);
    scenario.script = "recv 48 5\nrecv 320 4 4\ntouch waiting\nawait pressed\nrest 48 5\n";
    EXPECT_THAT(run_pressing(" ").out, EndsWith("STOPPED\n"));
    const Bytes wave = scenario.file("rec.wav");
    EXPECT_EQ(Bytes(wave.begin() + 4, wave.begin() + 8), low_first_4(44 + 1024));
    EXPECT_EQ(Bytes(wave.begin() + 40, wave.begin() + 44), low_first_4(1024));
    EXPECT_EQ(from_byte(wave, 44), first_bytes(scenario.blocks, 1024));
}

TEST_F(RunWithKeys, SpaceStopsOnlyTheFileThatRuns) {
    scenario.add_file("b.ambe", raw_recording(frames(1)));
    scenario.arguments = {"-W", "rec.ambe", "b.ambe"};
    EXPECT_THAT(run_pressing(" ").out, EndsWith("STOPPED\nConverting file 'b.ambe' to 'b.wav': |\b/\bDONE\n"));
}

TEST_F(RunWithKeys, OtherKeysAreDropped) {
    const Outcome outcome = run_pressing("xqQ\x1b[A\t\x7f");
    EXPECT_THAT(outcome.out, EndsWith(spinner(41) + "DONE\n"));
    EXPECT_EQ(frames_sent(outcome.calls), frames(40));
}

TEST_F(RunWithKeys, KeysThatWouldSignalOrEndTheInputAreDropped) {
    // Interrupt, quit, suspend, end of input, stop and start of output.
    const Outcome outcome = run_pressing("\x03\x1c\x1a\x04\x13\x11");
    EXPECT_EQ(outcome.signal, 0);
    EXPECT_EQ(outcome.status, 0);
    EXPECT_THAT(outcome.out, EndsWith(spinner(41) + "DONE\n"));
}

TEST_F(RunWithKeys, EnterZeroAndHighKeysAreDropped) {
    const Outcome outcome = run_pressing(std::string("\r\n\0\xA0\xFF", 5));
    EXPECT_THAT(outcome.out, EndsWith(spinner(41) + "DONE\n"));
}

TEST_F(RunWithKeys, OneKeyIsReadATurn) {
    const Outcome outcome = run_pressing("abcd z");
    EXPECT_THAT(outcome.out, EndsWith(": " + spinner(2 + 5) + "STOPPED\n"));
    EXPECT_EQ(frames_sent(outcome.calls), frames(6));
}

TEST_F(RunWithKeys, KeysNeedNoEnterAndAreNotEchoed) {
    run_pressing("x");
    EXPECT_EQ(echo, Bytes{});
}

TEST_F(RunWithKeys, TerminalIsInConsoleRawModeWhileAFileRuns) {
    run_pressing("");
    EXPECT_EQ(while_running.c_iflag, tcflag_t{IGNPAR});
    EXPECT_EQ(while_running.c_oflag, tcflag_t{OPOST | ONLCR});
    EXPECT_EQ(while_running.c_lflag & tcflag_t{ICANON | ECHO | ECHOE | ECHOK | ECHONL | ECHOCTL | ECHOPRT | ECHOKE},
              0U);
    EXPECT_EQ(while_running.c_lflag & tcflag_t{ISIG}, tcflag_t{ISIG});
    EXPECT_EQ(while_running.c_cflag & tcflag_t{CSIZE | PARENB | CSTOPB | CREAD | HUPCL | CLOCAL},
              tcflag_t{CS8 | CREAD | HUPCL});
    for (int i = 0; i < NCCS; i++) EXPECT_EQ(while_running.c_cc[i], i == VMIN ? 1 : 0) << i;
    EXPECT_EQ(cfgetospeed(&while_running), cfgetospeed(&before));
}

TEST_F(RunWithKeys, EchoAndLineModeAreBackAfterwards) {
    for (const char* keys : {" ", "x", "\x03"}) {
        run_pressing(keys);
        expect_same_state(terminal.state(), before);
        terminal.send("hello");
        EXPECT_EQ(terminal.receive(5), bytes_of("hello"));
        EXPECT_FALSE(terminal.has_input(no_echo_wait_ms)) << "in line mode a line waits for its end";
        terminal.send("\n");
        EXPECT_TRUE(terminal.has_input());
        EXPECT_EQ(terminal.receive(2), bytes_of("\r\n"));
        tcflush(terminal.device(), TCIFLUSH);
        ASSERT_EQ(unlink((scenario / "waiting").c_str()), 0);
        ASSERT_EQ(unlink((scenario / "pressed").c_str()), 0);
    }
}

TEST_F(RunWithKeys, OddSettingsAreBackAfterwards) {
    before.c_cc[VERASE] = 'Q';
    before.c_cc[VINTR] = 'W';
    before.c_lflag &= ~tcflag_t{ECHOE};
    before.c_iflag |= IXOFF;
    before.c_cflag |= CSTOPB;
    terminal.set_state(before);
    terminal.set_speed(B4800);
    before = terminal.state();
    run_pressing("x");
    EXPECT_EQ(cfgetospeed(&while_running), speed_t{B4800});
    expect_same_state(terminal.state(), before);
}

TEST_F(RunWithKeys, SettingsAreBackAfterSeveralFiles) {
    scenario.arguments = {"-W", "rec.ambe", "missing", "rec.ambe", "rec.ambe"};
    run_pressing("x");
    expect_same_state(terminal.state(), before);
}

TEST_F(RunWithKeys, KeyPressedBeforeTheRunCounts) {
    terminal.send(" ");
    scenario.script = "touch waiting\nrest 48 5\n";
    EXPECT_THAT(scenario.run().out, EndsWith(": |\bSTOPPED\n"));
}

TEST_F(RunWithKeys, TerminalThatGoesAwayLetsAnUnhangableRunEnd) {
    scenario.ignored_signals = {SIGHUP};
    RunningProgram program(scenario.call());
    wait_for_file(scenario / "waiting");
    terminal.hang_up();
    scenario.add_file("pressed", {});
    const ProgramResult result = program.finish();
    EXPECT_THAT(result.out, EndsWith(spinner(41) + "DONE\n"));
    EXPECT_EQ(result.err, "KB: unable to restore state !\n" + convert_teardown());
    EXPECT_EQ(result.status, 0);
}

TEST_F(RunWithKeys, FileAfterTheTerminalWentAwayRunsWithoutIt) {
    scenario.ignored_signals = {SIGHUP};
    scenario.add_file("b.ambe", raw_recording(frames(1)));
    scenario.arguments = {"-W", "rec.ambe", "b.ambe"};
    RunningProgram program(scenario.call());
    wait_for_file(scenario / "waiting");
    terminal.hang_up();
    scenario.add_file("pressed", {});
    const ProgramResult result = program.finish();
    EXPECT_THAT(result.out, EndsWith("DONE\nConverting file 'b.ambe' to 'b.wav': |\b/\bDONE\n"));
    EXPECT_EQ(result.err, "KB: unable to restore state !\n" + convert_teardown() +
                              "KB: unable to get current state !\nKB: unable to restore state !\n" +
                              convert_teardown());
    EXPECT_EQ(result.status, 0);
}

// Standard input that is no terminal: three frames, four turns.

Outcome three_frames_with(const ProgramInput& input) {
    ThreeFrames scenario;
    scenario.input = input;
    return scenario.run();
}

void expect_done(const Outcome& outcome) {
    EXPECT_EQ(outcome.out, convert_start_up() + "Converting file 'rec.ambe' to 'rec.wav': |\b/\b-\b\\\bDONE\n");
    EXPECT_EQ(outcome.err, convert_teardown());
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(frames_sent(outcome.calls), frames(3));
}

TEST(StandardInputKinds, NullDeviceLetsTheRunGoOn) {
    expect_done(three_frames_with({}));
}

TEST(StandardInputKinds, SilentPipeLetsTheRunGoOn) {
    expect_done(three_frames_with(held_pipe_input("")));
}

TEST(StandardInputKinds, PipeAtItsEndLetsTheRunGoOn) {
    expect_done(three_frames_with(ended_pipe_input("")));
}

TEST(StandardInputKinds, PipeWithOtherBytesLetsTheRunGoOn) {
    expect_done(three_frames_with(ended_pipe_input("ab\n")));
    expect_done(three_frames_with(held_pipe_input("abcdefgh")));
}

TEST(StandardInputKinds, SpaceInAPipeStops) {
    EXPECT_THAT(three_frames_with(held_pipe_input("ab ")).out, EndsWith(": |\b/\b-\bSTOPPED\n"));
    EXPECT_THAT(three_frames_with(ended_pipe_input(" ")).out, EndsWith(": |\bSTOPPED\n"));
}

TEST(StandardInputKinds, FileIsReadAByteATurn) {
    for (const auto& [content, end] : {
             std::pair{"ab c",  ": |\b/\b-\bSTOPPED\n" },
             {"",      ": |\b/\b-\b\\\bDONE\n"},
             {"a",     ": |\b/\b-\b\\\bDONE\n"},
             {"abcd ", ": |\b/\b-\b\\\bDONE\n"}
    }) {
        ThreeFrames scenario;
        scenario.add_file("keys", bytes_of(content));
        scenario.input = file_input(scenario / "keys");
        EXPECT_THAT(scenario.run().out, EndsWith(end)) << content;
    }
}

TEST(StandardInputKinds, ClosedInputLetsTheRunGoOn) {
    // The recording is long: its descriptor must not take the place of standard input.
    Scenario scenario;
    scenario.add_file("rec.ambe", raw_recording(std::vector<Bytes>(2000, Bytes(12, ' '))));
    scenario.arguments = {"-W", "rec.ambe"};
    scenario.input = closed_input();
    scenario.script = "rest 48 5\n";
    const Outcome outcome = scenario.run();
    EXPECT_THAT(outcome.out, EndsWith(spinner(2001) + "DONE\n"));
    EXPECT_EQ(frames_sent(outcome.calls).size(), 2000U);
    EXPECT_THAT(outcome.err, EndsWith(convert_teardown()));
    EXPECT_EQ(outcome.status, 0);
}

TEST(StandardInputKinds, ClosedOutputWritesNothingIntoTheWaveFile) {
    ThreeFrames scenario;
    scenario.output_closed = true;
    scenario.run();
    const Bytes wave = scenario.file("rec.wav");
    EXPECT_EQ(wave.size(), 36U);
    EXPECT_EQ(Bytes(wave.begin(), wave.begin() + 4), bytes_of("RIFF"));
}

}  // namespace
