// SPDX-License-Identifier: MIT
// Ends that nobody asked the program for: signals, a library that gives up, a reader that goes away, SIGKILL.
#include <fcntl.h>
#include <gmock/gmock.h>
#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include "program/scenario.h"
#include "support/fatal_signals.h"
#include "support/pty.h"
#include "support/wave.h"

namespace {

using testing::Contains;
using testing::Each;
using testing::EndsWith;
using testing::HasSubstr;

// A run on a terminal that waits in its second receive, the terminal being raw.
class AbnormalEnd : public testing::Test {
  protected:
    AbnormalEnd() {
        scenario.input = terminal_input(terminal.path());
        scenario.blocks = test_blocks(7);
        scenario.environment = without_the_sanitizers_handlers;
    }

    // What comes of a run to which `meanwhile` happens in its second receive.
    template <typename Action>
    ProgramResult run_while(const Action& meanwhile) {
        RunningProgram program(scenario.call());
        wait_for_file(scenario / "waiting");
        meanwhile(program);
        const ProgramResult result = program.finish();
        for (const char* name : {"waiting", "go"}) unlink((scenario / name).c_str());
        return result;
    }

    ProgramResult run_until_signal(int signal) {
        return run_while([this, signal](RunningProgram& program) {
            EXPECT_EQ(terminal.state().c_lflag & tcflag_t{ICANON | ECHO}, 0U);
            program.send_signal(signal);
        });
    }

    void expect_terminal_as_before() const { EXPECT_TRUE(same_state(terminal.state(), before)); }

    Pty terminal;
    ThreeFrames scenario{{"-W"}, "recv 48 5\nrecv 320 4 7\ntouch waiting\nawait go\nrest 48 5\n"};
    const termios before = terminal.state();
};

TEST_F(AbnormalEnd, SignalPutsTheTerminalBackAndEndsTheProgramByThatSignal) {
    for (const int signal : fatal_signals()) {
        const ProgramResult result = run_until_signal(signal);
        EXPECT_EQ(result.signal, signal);
        EXPECT_EQ(result.status, -1);
        expect_terminal_as_before();
    }
}

TEST_F(AbnormalEnd, SignalEndsTheProgramWithoutATerminalToo) {
    scenario.input = {};
    for (const int signal : {SIGTERM, SIGHUP, SIGINT})
        EXPECT_EQ(run_while([signal](RunningProgram& program) { program.send_signal(signal); }).signal, signal);
}

TEST_F(AbnormalEnd, SignalInTheSecondFileDoesTheSame) {
    scenario.arguments = {"-W", "rec.ambe", "rec.ambe"};
    scenario.script = "recv 34 1\nrecv 48 5\ntouch waiting\nawait go\n";
    EXPECT_EQ(run_until_signal(SIGTERM).signal, SIGTERM);
    expect_terminal_as_before();
}

TEST_F(AbnormalEnd, SignalInTheBackgroundPutsTheTerminalBackToo) {
    scenario.script = "recv 48 5\nbackground\nkill 15\nrecv 0 0\n";
    const ProgramResult result = run_program(scenario.call());
    EXPECT_EQ(result.signal, SIGTERM);
    EXPECT_THAT(scenario.calls(), Contains("dongle_recv(0, 400) raw = 48 5"));
    expect_terminal_as_before();
}

TEST_F(AbnormalEnd, SignalLeavesAWholeWaveFileUpToTheLastBlock) {
    for (const int signal : {SIGTERM, SIGHUP, SIGSEGV, SIGABRT, SIGUSR1}) {
        run_until_signal(signal);
        EXPECT_EQ(scenario.file("rec.wav"), pcm_file(first_bytes(scenario.blocks, 2048))) << signal;
    }
}

TEST_F(AbnormalEnd, SignalBeforeTheFirstBlockLeavesAWholeWaveFileWithoutData) {
    scenario.script = "recv 48 5\ntouch waiting\nawait go\n";
    run_until_signal(SIGTERM);
    EXPECT_EQ(scenario.file("rec.wav"), pcm_file({}));
}

TEST_F(AbnormalEnd, LibraryThatEndsTheProgramLeavesTerminalAndWaveFileWhole) {
    for (const auto& [step, status, signal] : {std::tuple("exit 3\n", 3, 0), std::tuple("abort\n", -1, SIGABRT)}) {
        for (const auto& [received, data] :
             {std::pair("recv 320 4 7\n", std::size_t{2048}), std::pair("", std::size_t{0})}) {
            scenario.script = std::string("recv 48 5\n") + received + step + "recv 0 0\n";
            const ProgramResult result = run_program(scenario.call());
            EXPECT_EQ(result.status, status) << step;
            EXPECT_EQ(result.signal, signal) << step;
            expect_terminal_as_before();
            EXPECT_EQ(scenario.file("rec.wav"), pcm_file(first_bytes(scenario.blocks, data))) << step << received;
        }
    }
}

TEST_F(AbnormalEnd, LibraryThatEndsTheProgramInTheBackgroundPutsTheTerminalBackToo) {
    scenario.script = "recv 48 5\nbackground\nexit 3\nrecv 0 0\n";
    EXPECT_EQ(run_program(scenario.call()).status, 3);
    expect_terminal_as_before();
}

TEST_F(AbnormalEnd, IgnoredSignalStaysIgnored) {
    for (const int signal : {SIGHUP, SIGINT}) {
        scenario.ignored_signals = {signal};
        const ProgramResult result = run_while([this, signal](RunningProgram& program) {
            program.send_signal(signal);
            scenario.add_file("go");
        });
        EXPECT_EQ(result.status, 0);
        EXPECT_THAT(result.out, EndsWith("DONE\n"));
        EXPECT_THAT(calls_starting_with(scenario.calls(), "dongle_recv"), Each(HasSubstr(" raw = ")));
    }
}

TEST_F(AbnormalEnd, ClosedTerminalEndsTheRunByItsHangUp) {
    EXPECT_EQ(run_while([this](RunningProgram&) { terminal.hang_up(); }).signal, SIGHUP);
}

TEST_F(AbnormalEnd, ReaderOfTheOutputThatGoesAwayPutsTheTerminalBack) {
    const std::string fifo = scenario / "out";
    ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);
    const int reader = open(fifo.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    scenario.output_path = fifo;
    const ProgramResult result = run_while([this, reader](RunningProgram&) {
        close(reader);
        scenario.add_file("go");
    });
    EXPECT_EQ(result.signal, SIGPIPE);
    expect_terminal_as_before();
}

TEST(Sigkill, LeavesTheWaveFileAsAPrefixWithItsProvisionalSizes) {
    ThreeFrames scenario({"-W"}, "recv 48 5\nrecv 320 4 7\nkill 9\nrecv 0 0\n");
    scenario.blocks = test_blocks(7);
    const Outcome outcome = scenario.run();
    EXPECT_EQ(outcome.signal, SIGKILL);
    EXPECT_EQ(outcome.out, convert_start_up() + converting + "|\b/\b");
    EXPECT_EQ(scenario.file("rec.wav"), wave_head(4) + data_head(0) + first_bytes(scenario.blocks, 2048));
}

TEST(Sigkill, BeforeTheFirstPieceLeavesNoHalfHead) {
    ThreeFrames scenario({"-W"}, "recv 48 5\nkill 9\nrecv 0 0\n");
    scenario.run();
    const std::size_t size = scenario.file("rec.wav").size();
    EXPECT_TRUE(size == 0 || size == 36) << size;
}

// What was not flushed is lost.
TEST(Sigkill, EachTurnOfTheSpinnerIsFlushedWithAllThatStandsBeforeIt) {
    const auto printed = [](const Lines& options, const std::string& script) {
        return ThreeFrames(options, script + "kill 9\nrecv 48 5\n").run().out;
    };
    EXPECT_EQ(printed({"-W"}, ""), convert_start_up() + converting + "|\b");
    EXPECT_EQ(printed({"-W"}, "recv 48 5\n"), convert_start_up() + converting + "|\b/\b");
    EXPECT_EQ(printed(play_mode, "recv 48 5\nrecv 320 4\n"), play_start_up() + playing + "|\b/\b");
}

}  // namespace
