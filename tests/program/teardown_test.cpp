// SPDX-License-Identifier: MIT
// The end of a file: who is told what, in which order, however it ends.
#include <gmock/gmock.h>

#include "program/recordings.h"
#include "program/scenario.h"
#include "support/pty.h"

namespace {

using testing::IsSupersetOf;

const Lines ends = {
    "rest 48 5\n",             // DONE
    "recv 48 5\nrecv 34 1\n",  // TIMEOUT
    "recv 48 5\nrecv -1 0\n",  // link failure
    "recv -1 0\n",             // at once
    "recv 48 5\nrecv 320 4 9\nrecv -5 4\n",
};

TEST(Teardown, ConvertModeStopsTheDongleThenTheWaveFileThenTheInput) {
    for (const std::string& script : ends) {
        ThreeFrames scenario;
        scenario.script = "speak\n" + script;
        EXPECT_EQ(scenario.run().err,
                  "[dongle_debug][dongle_init][dongle_hello][ambe_init][dongle_run 1]"
                  "> Stopping Dongle.\n"
                  "[dongle_run 0]"
                  "> Dongle stopped.\n"
                  "> Closing RIFF.\n"
                  "> RIFF closed.\n"
                  "> Closing DVX.\n"
                  "> DVX closed.\n"
                  "[dongle_close]")
            << script;
    }
}

TEST(Teardown, PlayModeStopsTheDongleThenTheAudioThenTheInput) {
    for (const std::string& script : ends) {
        ThreeFrames scenario(play_mode);
        scenario.script = "speak\n" + script;
        EXPECT_EQ(scenario.run().err,
                  "[dongle_debug][dongle_init][dongle_hello][ambe_init][dongle_run 1]"
                  "> Stopping Dongle.\n"
                  "[dongle_run 0]"
                  "> Dongle stopped.\n"
                  "> Stopping Audio.\n"
                  "> Audio stopped.\n"
                  "> Closing DVX.\n"
                  "> DVX closed.\n"
                  "[dongle_close]")
            << script;
    }
}

TEST(Teardown, SpaceEndsAFileLikeEverythingElse) {
    ThreeFrames scenario;
    scenario.input = held_pipe_input(" ");
    const Outcome outcome = scenario.run();
    EXPECT_EQ(outcome.out, convert_start_up() + "Converting file 'rec.ambe' to 'rec.wav': |\bSTOPPED\n");
    EXPECT_EQ(outcome.err, convert_teardown());
    EXPECT_EQ(outcome.calls, start_calls() + file_start_calls + file_end_calls + end_calls);
    EXPECT_EQ(outcome.status, 0);
}

TEST(Teardown, SizesArePatchedHoweverTheFileEnds) {
    for (const std::string end : {"rest 48 5\n", "recv 34 1\n", "recv -1 0\n"}) {
        ThreeFrames scenario;
        scenario.blocks = test_blocks(4);
        scenario.script = "recv 48 5\nrecv 320 4 4\n" + end;
        scenario.run();
        const Bytes wave = scenario.file("rec.wav");
        ASSERT_EQ(wave.size(), 44U + 1024U) << end;  // of 1280 bytes one block of 1024
        EXPECT_EQ(Bytes(wave.begin() + 4, wave.begin() + 8), low_first_4(44 + 1024)) << end;
        EXPECT_EQ(Bytes(wave.begin() + 40, wave.begin() + 44), low_first_4(1024)) << end;
    }
}

TEST(Teardown, TerminalIsRawFromAfterTheStartOfTheDongleUntilBeforeItsStop) {
    for (const Lines& options : {Lines{"-W"}, Lines{}}) {
        const Pty terminal;
        ThreeFrames scenario(options);
        scenario.input = terminal_input(terminal.path());
        scenario.script = "recv 48 5\nrecv 320 4\nrecv 34 1\n";
        const Outcome outcome = scenario.run();
        EXPECT_THAT(outcome.calls, IsSupersetOf({"dongle_run(1) cooked", "dongle_recv(0, 400) raw = 48 5",
                                                 "dongle_recv(0, 400) raw = 320 4", "dongle_recv(0, 400) raw = 34 1",
                                                 "dongle_run(0) cooked"}));
    }
}

TEST(Teardown, TerminalIsNotTouchedForAFileThatCannotBeStarted) {
    Pty terminal;
    termios odd = terminal.state();
    odd.c_cc[VERASE] = 'Q';
    terminal.set_state(odd);
    Scenario scenario;
    scenario.input = terminal_input(terminal.path());
    scenario.add_file("short.ambe", zeros(3));
    scenario.arguments = {"-W", "missing.ambe", "short.ambe"};
    const Outcome outcome = scenario.run();
    EXPECT_EQ(outcome.calls, start_calls() + end_calls);
    EXPECT_EQ(terminal.state().c_cc[VERASE], 'Q');
}

TEST(Teardown, NextFileStartsTheVocoderAgainAfterALinkFailure) {
    Scenario scenario;
    scenario.add_file("a.ambe", raw_recording(frames(3)));
    scenario.add_file("b.ambe", raw_recording({frame(9)}));
    scenario.arguments = {"-W", "a.ambe", "b.ambe"};
    scenario.script = "recv 48 5\nrecv -1 0\nrest 48 5\n";
    const Outcome outcome = scenario.run();
    EXPECT_EQ(outcome.calls, start_calls() + file_start_calls + received(48, "5") + sent(frame(1)) + received(-1, "0") +
                                 file_end_calls + file_start_calls + received(48, "5") + sent(frame(9)) +
                                 file_end_calls + end_calls);
    EXPECT_EQ(outcome.err, convert_teardown(2));
}

TEST(Teardown, NoDescriptorStaysOpen) {
    Scenario scenario;
    scenario.add_file("a.ambe", raw_recording(frames(3)));
    scenario.add_file("b.dvtool", dvtool_recording({record(frame(1))}));
    scenario.add_file("short.ambe", zeros(3));
    scenario.arguments = {"-W", "a.ambe", "b.dvtool", "short.ambe", "missing.ambe", "a.ambe"};
    scenario.script = "count_descriptors\nrest 48 5\n";
    const Lines counts = [&scenario] {
        Lines found;
        for (const std::string& call : scenario.run().calls) {
            if (call.find(" descriptors") != std::string::npos) found.push_back(call);
        }
        return found;
    }();
    ASSERT_EQ(counts.size(), 2U);
    EXPECT_EQ(counts[0], counts[1]);
}

}  // namespace
