// SPDX-License-Identifier: MIT
// What the decode pump makes of each packet of the vocoder, in each state, seen from outside.
//
//   packet              then
//   negative            the file ends
//   0                   state 2: the next frame is read; state 3: receives again
//   48, type 5          the frame is sent, the next one is read
//   320, type 4         the block is written, receives again
//   34, type 1          TIMEOUT, the file ends
//   anything else       the next frame is read over the waiting one
#include <gmock/gmock.h>

#include "program/recordings.h"
#include "program/scenario.h"

namespace {

using testing::ElementsAre;

const std::string asked = received(48, "5");
const std::string nothing = received(0, "0");
const std::string block = received(320, "4");

struct PumpRun {
    Lines calls;       // between the start and the end of the file
    std::string text;  // behind "to 'rec.wav': "
    Outcome outcome;
};

// One raw recording of `count` frames.
PumpRun pump(int count, const std::string& script, const Lines& options = {"-W"}) {
    Scenario scenario;
    scenario.add_file("rec.ambe", raw_recording(frames(count)));
    scenario.arguments = options;
    scenario.arguments.push_back("rec.ambe");
    scenario.script = script;
    PumpRun run;
    run.outcome = scenario.run();
    const Lines& calls = run.outcome.calls;
    const Lines before = start_calls() + file_start_calls;
    const Lines after = file_end_calls + end_calls;
    if (calls.size() < before.size() + after.size()) {
        ADD_FAILURE() << testing::PrintToString(calls) << run.outcome.err;
        return run;
    }
    const auto middle = calls.begin() + static_cast<std::ptrdiff_t>(before.size());
    const auto end = calls.end() - static_cast<std::ptrdiff_t>(after.size());
    EXPECT_EQ(Lines(calls.begin(), middle), before);
    EXPECT_EQ(Lines(end, calls.end()), after);
    run.calls = Lines(middle, end);
    run.text = run.outcome.out.substr(run.outcome.out.rfind(": ") + 2);
    return run;
}

TEST(EventTable, RequestSendsTheFrameAndReadsTheNext) {
    const PumpRun run = pump(2, "rest 48 5\n");
    EXPECT_EQ(run.calls, Lines{asked} + sent(frame(1)) + asked + sent(frame(2)));
    EXPECT_EQ(run.text, "|\b/\b-\bDONE\n");
}

TEST(EventTable, EachReceiveGetsType0AndARoomOf400Bytes) {
    const PumpRun run = pump(3, "recv 48 5\nrecv 320 4\nrecv 7 9\nrecv 0 3\nrest 48 5\n");
    for (const std::string& call : calls_starting_with(run.calls, "dongle_recv")) {
        EXPECT_EQ(call.substr(0, 19), "dongle_recv(0, 400)");
    }
}

TEST(EventTable, FirstReceiveOfNothingReadsASecondFrameOverTheFirst) {
    const PumpRun run = pump(3, "recv 0 0\nrest 48 5\n");
    EXPECT_EQ(run.calls, Lines{nothing} + asked + sent(frame(2)) + asked + sent(frame(3)));
    EXPECT_EQ(run.text, spinner(4) + "DONE\n");
}

TEST(EventTable, NothingWhileAFrameWaitsReceivesAgainWithoutATurn) {
    const PumpRun run = pump(2, "recv 48 5\nrecv 0 0 3\nrest 48 5\n");
    EXPECT_EQ(run.calls, Lines{asked} + sent(frame(1)) + nothing + nothing + nothing + asked + sent(frame(2)));
    EXPECT_EQ(run.text, spinner(3) + "DONE\n");
}

TEST(EventTable, SecondNothingAtTheStartReceivesAgainWithoutATurn) {
    const PumpRun run = pump(3, "recv 0 0 4\nrest 48 5\n");
    EXPECT_EQ(run.calls,
              Lines{nothing} + nothing + nothing + nothing + asked + sent(frame(2)) + asked + sent(frame(3)));
    EXPECT_EQ(run.text, spinner(4) + "DONE\n");
}

TEST(EventTable, NothingIsNothingWhateverItsType) {
    for (const char* type : {"0", "1", "4", "5", "keep"}) {
        const PumpRun run = pump(2, std::string("recv 48 5\nrecv 0 ") + type + "\nrest 48 5\n");
        EXPECT_EQ(run.calls, Lines{asked} + sent(frame(1)) + received(0, type) + asked + sent(frame(2)));
    }
}

TEST(EventTable, NothingAfterTheLastFrameOfAOneFrameFileEndsIt) {
    const PumpRun run = pump(1, "recv 0 0\nrest 48 5\n");
    EXPECT_EQ(run.calls, Lines{nothing});
    EXPECT_EQ(run.text, "|\b/\bDONE\n");
}

TEST(EventTable, BlockIsFollowedByAnotherReceiveWithoutATurnOrAFrame) {
    const PumpRun run = pump(2, "recv 48 5\nrecv 320 4 5\nrest 48 5\n");
    EXPECT_EQ(run.calls,
              Lines{asked} + sent(frame(1)) + block + block + block + block + block + asked + sent(frame(2)));
    EXPECT_EQ(run.text, spinner(3) + "DONE\n");
}

TEST(EventTable, VocoderThatOnlyAnswersWithBlocksGetsNoFurtherFrame) {
    const PumpRun run = pump(9, "recv 48 5\nrecv 320 4 200\nrecv -1 0\n");
    EXPECT_THAT(frames_sent(run.calls), ElementsAre(frame(1)));
    EXPECT_EQ(run.text, "|\b/\b");
}

TEST(EventTable, BlockBeforeTheFirstRequestKeepsTheFirstFrame) {
    const PumpRun run = pump(2, "recv 320 4\nrest 48 5\n");
    EXPECT_EQ(run.calls, Lines{block} + asked + sent(frame(1)) + asked + sent(frame(2)));
}

TEST(EventTable, NothingAfterABlockReceivesAgainAlsoOnTheFirstFrame) {
    const PumpRun run = pump(2, "recv 320 4\nrecv 0 0\nrest 48 5\n");  // the block makes it state 3
    EXPECT_EQ(run.calls, Lines{block} + nothing + asked + sent(frame(1)) + asked + sent(frame(2)));
}

TEST(EventTable, UnknownPacketDropsTheWaitingFrame) {
    const PumpRun run = pump(4, "recv 48 5\nrecv 7 9\nrest 48 5\n");
    EXPECT_EQ(run.calls,
              Lines{asked} + sent(frame(1)) + received(7, "9") + asked + sent(frame(3)) + asked + sent(frame(4)));
    EXPECT_EQ(run.text, spinner(5) + "DONE\n");
}

TEST(EventTable, UnknownPacketDropsTheFirstFrame) {
    const PumpRun run = pump(2, "recv 1 0\nrest 48 5\n");
    EXPECT_EQ(run.calls, Lines{received(1, "0")} + asked + sent(frame(2)));
}

TEST(EventTable, AfterAnUnknownPacketTheNextFrameWaitsAgain) {
    const PumpRun run = pump(4, "recv 48 5\nrecv 7 9\nrecv 0 0 2\nrest 48 5\n");  // state 3: no frame over it
    EXPECT_THAT(frames_sent(run.calls), ElementsAre(frame(1), frame(3), frame(4)));
}

TEST(EventTable, OnlyUnknownPacketsReadTheFileToItsEnd) {
    const PumpRun run = pump(5, "rest 99 99\n");
    EXPECT_THAT(frames_sent(run.calls), ElementsAre());
    EXPECT_EQ(run.calls.size(), 5U);
    EXPECT_EQ(run.text, spinner(6) + "DONE\n");
}

TEST(EventTable, KnownLengthWithAnotherTypeIsUnknown) {
    for (const auto& [length, type] : {
             std::pair{48,  "4"   },
             {48,  "0"   },
             {48,  "1"   },
             {48,  "keep"},
             {48,  "6"   },
             {48,  "-5"  },
             {320, "5"   },
             {320, "0"   },
             {320, "1"   },
             {320, "keep"},
             {320, "260" },
             {34,  "0"   },
             {34,  "5"   },
             {34,  "4"   },
             {34,  "keep"},
             {34,  "2"   }
    }) {
        const std::string packet = std::to_string(length) + " " + type;
        const PumpRun run = pump(3, "recv 48 5\nrecv " + packet + "\nrest 48 5\n");
        EXPECT_EQ(run.calls, Lines{asked} + sent(frame(1)) + received(length, type) + asked + sent(frame(3))) << packet;
        EXPECT_EQ(run.text, spinner(4) + "DONE\n") << packet;
    }
}

TEST(EventTable, KnownTypeWithAnotherLengthIsUnknown) {
    for (const auto& [length, type] : {
             std::pair{47,         "5"},
             {49,         "5"},
             {319,        "4"},
             {321,        "4"},
             {33,         "1"},
             {35,         "1"},
             {1,          "1"},
             {400,        "4"},
             {400,        "5"},
             {401,        "4"},
             {65536 + 48, "5"},
             {2147483647, "4"}
    }) {
        const std::string packet = std::to_string(length) + " " + type;
        const PumpRun run = pump(3, "recv 48 5\nrecv " + packet + "\nrest 48 5\n");
        EXPECT_THAT(frames_sent(run.calls), ElementsAre(frame(1), frame(3))) << packet;
    }
}

TEST(EventTable, TimeOutPacketEndsTheFile) {
    const PumpRun run = pump(3, "recv 48 5\nrecv 34 1\n");
    EXPECT_EQ(run.calls, Lines{asked} + sent(frame(1)) + received(34, "1"));
    EXPECT_EQ(run.text, "|\b/\bTIMEOUT\n");
    EXPECT_EQ(run.outcome.err, convert_teardown());
    EXPECT_EQ(run.outcome.status, 0);
}

TEST(EventTable, TimeOutPacketEndsTheFileInEveryState) {
    EXPECT_EQ(pump(3, "recv 34 1\n").text, "|\bTIMEOUT\n");
    EXPECT_EQ(pump(3, "recv 320 4\nrecv 34 1\n").text, "|\bTIMEOUT\n");
    EXPECT_EQ(pump(3, "recv 48 5\nrecv 9 9\nrecv 34 1\n").text, "|\b/\b-\bTIMEOUT\n");
}

TEST(EventTable, NegativeReceiveEndsTheFileWithoutAWord) {
    for (const char* packet : {"-1 0", "-1 5", "-2 4", "-34 1", "-48 5", "-320 4", "-2147483648 1"}) {
        const PumpRun run = pump(3, std::string("recv 48 5\nrecv ") + packet + "\n");
        EXPECT_EQ(run.text, "|\b/\b") << packet;
        EXPECT_EQ(run.outcome.err, convert_teardown()) << packet;
        EXPECT_EQ(run.outcome.status, 0);
    }
}

TEST(EventTable, NegativeFirstReceiveEndsTheFile) {
    const PumpRun run = pump(3, "recv -1 0\n");
    EXPECT_THAT(run.calls, ElementsAre(received(-1, "0")));
    EXPECT_EQ(run.text, "|\b");
}

TEST(EventTable, PlayModeRunsThroughTheSameTable) {
    const std::string script = "recv 0 0\nrecv 48 5\nrecv 320 4 2\nrecv 0 0\nrecv 48 5\nrecv 5 5\nrest 48 5\n";
    const PumpRun converted = pump(6, script);
    const PumpRun played = pump(6, script, {});
    EXPECT_EQ(played.calls, converted.calls);
    EXPECT_EQ(played.text, converted.text);
    EXPECT_THAT(frames_sent(played.calls), ElementsAre(frame(2), frame(3), frame(5), frame(6)));
}

TEST(EventTable, ResultOfDongleSendIsNotLookedAt) {  // the stand-in's is -1, always
    EXPECT_EQ(frames_sent(pump(20, "rest 48 5\n").calls), frames(20));
}

TEST(EventTable, FramesAreMirroredOnceAndOnlyWhenTheyAreSent) {
    const PumpRun run = pump(5, "recv 0 0\nrecv 48 5\nrecv 320 4\nrecv 9 9\nrest 48 5\n", {"-W", "-R"});
    EXPECT_THAT(frames_sent(run.calls), ElementsAre(mirrored(frame(2)), mirrored(frame(4)), mirrored(frame(5))));
}

}  // namespace
