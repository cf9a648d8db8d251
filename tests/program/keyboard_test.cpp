// SPDX-License-Identifier: MIT
// The space key and the terminal, and every other thing that standard input can be. What raw mode is, flag by flag,
// tests/link/ holds.
#include <gmock/gmock.h>
#include <unistd.h>

#include "program/scenario.h"
#include "support/pty.h"
#include "support/wave.h"

namespace {

using testing::EndsWith;

constexpr int no_echo_wait_ms = 150;
constexpr int frames_of_the_recording = 40;

// A run with keys pressed on a terminal while the second frame waits for the vocoder.
class RunWithKeys : public testing::Test {
  protected:
    // Starts the program and lets `meanwhile` happen in front of its second receive.
    template <typename Action>
    Outcome run_while(const Action& meanwhile) {
        RunningProgram program(scenario.call());
        wait_for_file(scenario / "waiting");
        while_running = terminal.state();
        meanwhile();
        scenario.add_file("pressed");
        Outcome outcome{program.finish(), scenario.calls()};
        for (const char* name : {"waiting", "pressed", ".calls"}) unlink((scenario / name).c_str());
        return outcome;
    }

    Outcome run_pressing(const std::string& keys) {
        return run_while([&] {
            terminal.send(keys);
            EXPECT_TRUE(terminal.has_input()) << "no key needs an Enter";
            EXPECT_EQ(terminal.receive(1, no_echo_wait_ms), Bytes{}) << "and none is echoed";
        });
    }

    Pty terminal;
    Scenario scenario{
        {"-W", "rec.ambe"},
        "recv 48 5\nrecv 320 4 4\ntouch waiting\nawait pressed\nrest 48 5\n"
    };
    termios before = terminal.state();
    termios while_running = {};

    void SetUp() override {
        scenario.add_file("rec.ambe", raw_recording(frames(frames_of_the_recording)));
        scenario.add_file("b.ambe", raw_recording(frames(1)));
        scenario.input = terminal_input(terminal.path());
        scenario.blocks = test_blocks(4);
    }
};

TEST_F(RunWithKeys, SpaceStopsAtTheNextTurnAndTheWaveFileIsWhole) {
    const Outcome outcome = run_pressing(" ");
    EXPECT_EQ(outcome.out, convert_start_up() + converting + "|\b/\b-\bSTOPPED\n");
    EXPECT_EQ(outcome.err, convert_teardown());
    EXPECT_EQ(frames_sent(outcome.calls), frames(2));
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(scenario.file("rec.wav"), pcm_file(first_bytes(scenario.blocks, 1024)));
}

TEST_F(RunWithKeys, SpaceStopsPlayModeToo) {
    scenario.arguments = {"rec.ambe"};
    const Outcome outcome = run_pressing(" ");
    EXPECT_EQ(outcome.out, play_start_up() + playing + "|\b/\b-\bSTOPPED\n");
    EXPECT_EQ(outcome.err, play_teardown());
}

TEST_F(RunWithKeys, SpaceStopsOnlyTheFileThatRuns) {
    scenario.arguments = {"-W", "rec.ambe", "b.ambe"};
    EXPECT_THAT(run_pressing(" ").out, EndsWith("STOPPED\nConverting file 'b.ambe' to 'b.wav': |\b/\bDONE\n"));
}

TEST_F(RunWithKeys, OtherKeysAreDroppedThoseForSignalsAndTheEndOfInputIncluded) {
    // Interrupt, quit, suspend, end of input, stop and start of output; Enter, zero, high keys.
    for (const std::string& keys :
         {std::string("xqQ\x1b[A\t\x7f"), std::string("\x03\x1c\x1a\x04\x13\x11"), std::string("\r\n\0\xA0\xFF", 5)}) {
        const Outcome outcome = run_pressing(keys);
        EXPECT_THAT(outcome.out, EndsWith(spinner(frames_of_the_recording + 1) + "DONE\n"));
        EXPECT_EQ(frames_sent(outcome.calls), frames(frames_of_the_recording));
        EXPECT_EQ(outcome.status, 0);
    }
}

TEST_F(RunWithKeys, OneKeyIsReadATurn) {
    EXPECT_THAT(run_pressing("abcd z").out, EndsWith(": " + spinner(2 + 5) + "STOPPED\n"));
}

TEST_F(RunWithKeys, KeyPressedBeforeTheRunCounts) {
    terminal.send(" ");
    scenario.script = takes_all_frames;
    EXPECT_THAT(scenario.run().out, EndsWith(": |\bSTOPPED\n"));
}

TEST_F(RunWithKeys, TerminalIsRawWhileAFileRunsAndEchoesLineByLineAfterwards) {
    run_pressing("x");
    EXPECT_EQ(while_running.c_lflag & tcflag_t{ICANON | ECHO | ISIG}, tcflag_t{ISIG});
    EXPECT_TRUE(same_state(terminal.state(), before));
    terminal.send("hello");
    EXPECT_EQ(terminal.receive(5), bytes_of("hello"));
    EXPECT_FALSE(terminal.has_input(no_echo_wait_ms)) << "in line mode a line waits for its end";
    terminal.send("\n");
    EXPECT_TRUE(terminal.has_input());
    EXPECT_EQ(terminal.receive(2), bytes_of("\r\n"));
}

TEST_F(RunWithKeys, OddSettingsAreBackAfterSeveralFiles) {
    before.c_cc[VERASE] = 'Q';
    before.c_cc[VINTR] = 'W';
    before.c_lflag &= ~tcflag_t{ECHOE};
    before.c_iflag |= IXOFF;
    before.c_cflag |= CSTOPB;
    terminal.set_state(before);
    terminal.set_speed(B4800);
    before = terminal.state();
    scenario.arguments = {"-W", "rec.ambe", "missing", "rec.ambe", "b.ambe"};
    run_pressing("x");
    EXPECT_EQ(cfgetospeed(&while_running), speed_t{B4800});
    EXPECT_TRUE(same_state(terminal.state(), before));
}

TEST_F(RunWithKeys, TerminalThatGoesAwayLetsAnUnhangableRunGoOnFileAfterFile) {
    scenario.ignored_signals = {SIGHUP};
    scenario.arguments = {"-W", "rec.ambe", "b.ambe"};
    const Outcome outcome = run_while([this] { terminal.hang_up(); });
    EXPECT_EQ(outcome.out, convert_start_up() + converting + spinner(frames_of_the_recording + 1) +
                               "DONE\nConverting file 'b.ambe' to 'b.wav': |\b/\bDONE\n");
    EXPECT_EQ(outcome.err, "KB: unable to restore state !\n" + convert_teardown() +
                               "KB: unable to get current state !\nKB: unable to restore state !\n" +
                               convert_teardown());
    EXPECT_EQ(outcome.status, 0);
}

// Standard input that is no terminal, and three frames.
TEST(StandardInputKinds, EachByteOfAPipeOrFileIsAKeyAndItsEndIsNone) {
    const TempDir directory;
    const auto file = [&directory](const std::string& content) {
        write_file(directory / "keys", bytes_of(content));
        return file_input(directory / "keys");
    };
    const struct {
        ProgramInput input;
        std::string text;
    } rows[] = {
        {{},                          spinner(4) + "DONE\n"   }, // the null device
        {held_pipe_input(""),         spinner(4) + "DONE\n"   },
        {held_pipe_input("abcdefgh"), spinner(4) + "DONE\n"   },
        {held_pipe_input("ab "),      spinner(3) + "STOPPED\n"},
        {ended_pipe_input(""),        spinner(4) + "DONE\n"   },
        {ended_pipe_input("ab\n"),    spinner(4) + "DONE\n"   },
        {ended_pipe_input(" "),       spinner(1) + "STOPPED\n"},
    };
    const auto expect_text = [](const ProgramInput& input, const std::string& text) {
        ThreeFrames scenario;
        scenario.input = input;
        const Outcome outcome = scenario.run();
        EXPECT_EQ(outcome.out, convert_start_up() + converting + text);
        EXPECT_EQ(outcome.err, convert_teardown());
        EXPECT_EQ(outcome.status, 0);
    };
    for (const auto& row : rows) expect_text(row.input, row.text);
    expect_text(file(""), spinner(4) + "DONE\n");
    expect_text(file("a"), spinner(4) + "DONE\n");
    expect_text(file("abcd "), spinner(4) + "DONE\n");
    expect_text(file("ab c"), spinner(3) + "STOPPED\n");
}

TEST(StandardInputKinds, ClosedInputLetsTheRunGoOn) {
    // The recording is long: its descriptor must not take the place of standard input.
    const Bytes recording = raw_recording(std::vector<Bytes>(2000, Bytes(frame_bytes, ' ')));
    Scenario scenario({"-W", "rec.ambe"});
    scenario.add_file("rec.ambe", recording);
    scenario.input = closed_input();
    const Outcome outcome = scenario.run();
    EXPECT_EQ(outcome.out, convert_start_up() + converting + spinner(2001) + "DONE\n");
    EXPECT_EQ(frames_sent(outcome.calls).size(), 2000U);
    EXPECT_THAT(outcome.err, EndsWith(convert_teardown()));
    EXPECT_EQ(outcome.status, 0);
}

// With both closed and nothing in their place, the recording would be descriptor 1 and the WAVE file descriptor 2.
TEST(StandardInputKinds, ClosedOutputWritesNothingIntoTheWaveFile) {
    for (const bool output_closed : {false, true}) {
        ThreeFrames scenario;
        scenario.output_closed = output_closed;
        scenario.error_closed = true;
        scenario.run();
        EXPECT_EQ(scenario.file("rec.wav"), pcm_file({}));
    }
}

#ifdef NO_NULL_DEVICE
TEST(StandardInputKinds, MissingStreamThatCannotBeReplacedEndsTheProgramBeforeAnythingIsOpened) {
    ThreeFrames scenario;
    scenario.environment = {
        {"LD_PRELOAD", NO_NULL_DEVICE}
    };
    EXPECT_EQ(scenario.run().status, 0);
    ASSERT_EQ(unlink((scenario / "rec.wav").c_str()), 0);
    ASSERT_EQ(unlink((scenario / ".calls").c_str()), 0);

    scenario.input = closed_input();
    const Outcome outcome = scenario.run();
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.out + outcome.err, "");
    EXPECT_THAT(outcome.calls, testing::IsEmpty());
    EXPECT_FALSE(scenario.has_file("rec.wav"));
}
#endif

}  // namespace
