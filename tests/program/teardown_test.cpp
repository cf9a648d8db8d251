// SPDX-License-Identifier: MIT
// The end of a file: who is told what, in which order, however it ends.
#include <gmock/gmock.h>

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

TEST(Teardown, DongleStopsThenTheWaveFileOrTheAudioThenTheInput) {
    for (const std::string& script : ends) {
        for (const auto& [options, sink] : {
                 std::pair{Lines{"-W"}, "> Closing RIFF.\n> RIFF closed.\n"    },
                 {play_mode,   "> Stopping Audio.\n> Audio stopped.\n"}
        }) {
            EXPECT_EQ(ThreeFrames(options, "speak\n" + script).run().err,
                      std::string("[dongle_debug][dongle_init][dongle_hello][ambe_init][dongle_run 1]"
                                  "> Stopping Dongle.\n"
                                  "[dongle_run 0]"
                                  "> Dongle stopped.\n") +
                          sink +
                          "> Closing DVX.\n"
                          "> DVX closed.\n"
                          "[dongle_close]")
                << script;
        }
    }
}

TEST(Teardown, TerminalIsRawFromAfterTheStartOfTheDongleUntilBeforeItsStop) {
    for (const Lines& options : {Lines{"-W"}, Lines{}}) {
        const Pty terminal;
        ThreeFrames scenario(options, "recv 48 5\nrecv 320 4\nrecv 34 1\n");
        scenario.input = terminal_input(terminal.path());
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
    Scenario scenario({"-W", "missing.ambe", "short.ambe"});
    scenario.add_file("short.ambe", zeros(3));
    scenario.input = terminal_input(terminal.path());
    const Outcome outcome = scenario.run();
    EXPECT_EQ(outcome.calls, start_calls() + end_calls);
    EXPECT_EQ(terminal.state().c_cc[VERASE], 'Q');
}

TEST(Teardown, NoDescriptorStaysOpen) {
    const Scenario scenario({"-W", "a.ambe", "b.dvtool", "short.ambe", "missing.ambe", "a.ambe"},
                            "count_descriptors\nrest 48 5\n");
    scenario.add_file("a.ambe", raw_recording(frames(3)));
    scenario.add_file("b.dvtool", dvtool_recording({record(frame(1))}));
    scenario.add_file("short.ambe", zeros(3));
    Lines counts;
    for (const std::string& call : scenario.run().calls) {
        if (call.find(" descriptors") != std::string::npos) counts.push_back(call);
    }
    ASSERT_EQ(counts.size(), 2U);
    EXPECT_EQ(counts[0], counts[1]);
}

}  // namespace
