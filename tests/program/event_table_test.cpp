// SPDX-License-Identifier: MIT
// What the decode pump makes of each packet of the vocoder, seen from outside. Every row in every state,
// tests/player/decode_pump_test.cpp holds.
#include <gmock/gmock.h>

#include "program/scenario.h"

namespace {

const std::string asked = received(48, "5");
const std::string nothing = received(0, "0");
const std::string one_block = received(320, "4");

struct PumpRun {
    Lines calls;       // between the start and the end of the file
    std::string text;  // behind "rec.ambe" and what goes with it
    std::string err;
};

PumpRun pump(const std::string& script, const Lines& options) {
    const Scenario scenario(options + "rec.ambe", script);
    scenario.add_file("rec.ambe", raw_recording(frames(6)));
    const Outcome outcome = scenario.run();
    const Lines before = start_calls() + file_start_calls;
    const Lines after = file_end_calls + end_calls;
    EXPECT_EQ(outcome.status, 0);
    const auto size = std::ssize(outcome.calls);
    if (size < std::ssize(before + after)) return {outcome.calls, "", ""};
    const auto middle = outcome.calls.begin() + std::ssize(before);
    const auto end = outcome.calls.end() - std::ssize(after);
    EXPECT_EQ(Lines(outcome.calls.begin(), middle), before);
    EXPECT_EQ(Lines(end, outcome.calls.end()), after);
    return {Lines(middle, end), outcome.out.substr(outcome.out.rfind(": ") + 2), outcome.err};
}

TEST(EventTable, EveryPacketHasItsRowInBothModes) {
    const std::string script =
        "recv 0 0\n"       // reads a second frame over the first
        "recv 48 5\n"      // sends it
        "recv 320 4 2\n"   // blocks one after the other
        "recv 0 keep\n"    // a frame waits: receives again
        "recv 48 5\n"      //
        "recv 320 keep\n"  // unknown with another type: the frame is dropped
        "rest 48 5\n";     // to the end
    const Lines calls = Lines{nothing} + asked + sent(frame(2)) + one_block + one_block + received(0, "keep") + asked +
                        sent(frame(3)) + received(320, "keep") + asked + sent(frame(5)) + asked + sent(frame(6));
    const PumpRun converted = pump(script, {"-W"});
    EXPECT_EQ(converted.calls, calls);
    EXPECT_EQ(converted.text, spinner(7) + "DONE\n");
    const PumpRun played = pump(script, play_mode);
    EXPECT_EQ(played.calls, calls);
    EXPECT_EQ(played.text, converted.text);
}

TEST(EventTable, TimeOutAndNegativeReceiveEndTheFile) {
    const struct {
        int length;
        std::string type, last_words;
    } ends[] = {
        {34,              "1", "TIMEOUT\n"},
        {-1,              "0", ""         },
        {-48,             "5", ""         },
        {-2147483647 - 1, "1", ""         },
    };
    for (const auto& end : ends) {
        const std::string script = "recv 48 5\nrecv " + std::to_string(end.length) + " " + end.type + "\n";
        const PumpRun run = pump(script, {"-W"});
        EXPECT_EQ(run.calls, Lines{asked} + sent(frame(1)) + received(end.length, end.type));
        EXPECT_EQ(run.text, spinner(2) + end.last_words);
        EXPECT_EQ(run.err, convert_teardown());
    }
}

}  // namespace
