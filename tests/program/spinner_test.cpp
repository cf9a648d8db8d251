// SPDX-License-Identifier: MIT
// The spinner: its faces, its flush, and when it starts over.
#include <gmock/gmock.h>

#include "program/recordings.h"
#include "program/scenario.h"

namespace {

using testing::EndsWith;

std::string behind_colon(const std::string& out) {
    return out.substr(out.rfind(": ") + 2);
}

TEST(Spinner, HasFourFacesEachFollowedByABackspace) {
    Scenario scenario;
    scenario.add_file("rec.ambe", raw_recording(frames(8)));
    scenario.arguments = {"-W", "rec.ambe"};
    scenario.script = "rest 48 5\n";
    const std::string expected("|\b/\b-\b\\\b|\b/\b-\b\\\b|\bDONE\n");
    EXPECT_EQ(behind_colon(scenario.run().out), expected);
}

TEST(Spinner, StartsOverWithEachFile) {
    Scenario scenario;
    scenario.add_file("a.ambe", raw_recording(frames(2)));
    scenario.add_file("b.ambe", raw_recording(frames(1)));
    scenario.arguments = {"-W", "a.ambe", "b.ambe"};
    scenario.script = "rest 48 5\n";
    EXPECT_EQ(scenario.run().out, convert_start_up() + "Converting file 'a.ambe' to 'a.wav': |\b/\b-\bDONE\n" +
                                      "Converting file 'b.ambe' to 'b.wav': |\b/\bDONE\n");
}

// The stand-in kills the program: what was not flushed is lost.
std::string out_of_killed(const std::string& script, const Lines& options = {"-W"}) {
    ThreeFrames scenario(options);
    scenario.script = script + "kill 9\nrecv 48 5\n";
    const Outcome outcome = scenario.run();
    EXPECT_EQ(outcome.signal, 9);
    return outcome.out;
}

TEST(Spinner, EachTurnIsFlushedWithAllThatStandsBeforeIt) {
    EXPECT_EQ(out_of_killed(""), convert_start_up() + "Converting file 'rec.ambe' to 'rec.wav': |\b");
    EXPECT_EQ(out_of_killed("recv 48 5\n"), convert_start_up() + "Converting file 'rec.ambe' to 'rec.wav': |\b/\b");
    EXPECT_EQ(out_of_killed("recv 48 5\nrecv 320 4\n", {}), play_start_up() + "Playing file 'rec.ambe': |\b/\b");
}

TEST(Spinner, IsDrawnAlsoWhenStandardOutputIsNoTerminal) {  // here it is a file
    EXPECT_THAT(ThreeFrames().run().out, EndsWith(": |\b/\b-\b\\\bDONE\n"));
}

}  // namespace
