// SPDX-License-Identifier: MIT
// Recordings through the whole program. What each form and each damage gives, tests/player/voice_recording_test.cpp
// holds.
#include <gmock/gmock.h>

#include "program/scenario.h"

namespace {

using testing::Each;
using testing::ElementsAre;

constexpr std::size_t frames_without_input_limit = 65536;

// As the vocoder gets them.
std::vector<Bytes> decoded(const Bytes& recording) {
    const Scenario scenario({"-W", "rec.x"});
    scenario.add_file("rec.x", recording);
    const Outcome outcome = scenario.run();
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.err, convert_teardown());
    return frames_sent(outcome.calls);
}

TEST(Recordings, EveryFrameReachesTheVocoderInOrderFromBothForms) {
    std::vector<Bytes> expected;
    for (unsigned i = 0; i < 3000; i++) expected.push_back(low_first_4(i) + slice(counting_bytes(300), i % 251, 8));
    EXPECT_EQ(decoded(raw_recording(expected)), expected);
    std::vector<Bytes> records;
    for (const Bytes& one : expected) records.push_back(record(one));
    EXPECT_EQ(decoded(dvtool_recording(records)), expected);
}

TEST(Recordings, StaleLengthOfZeroAtTheEndRepeatsTheFrame65536TimesAndIsThenDone) {
    const Bytes begins_with_0_0 = zeros(2) + from_byte(record(frame(1)), 2);
    const Scenario scenario({"-W", "rec.x"});
    scenario.add_file("rec.x", dvtool_recording({record(frame(9)), begins_with_0_0}));
    const Outcome outcome = scenario.run();
    const std::vector<Bytes> result = frames_sent(outcome.calls);
    ASSERT_EQ(result.size(), 2 + frames_without_input_limit);
    EXPECT_EQ(result[0], frame(9));
    EXPECT_THAT(std::vector<Bytes>(result.begin() + 1, result.end()), Each(frame(1)));
    EXPECT_EQ(outcome.out, convert_start_up() + "Converting file 'rec.x' (DVTOOL) to 'rec.wav': " +
                               spinner(3 + frames_without_input_limit) + "DONE\n");
}

TEST(Recordings, BufferIsZeroedForEachFile) {
    const Scenario scenario({"-W", "a.x", "b.x"});
    scenario.add_file("a.x", dvtool_recording({record(frame(1))}));
    scenario.add_file("b.x", dvtool_recording({{}, record(frame(2))}));
    EXPECT_THAT(frames_sent(scenario.run().calls), ElementsAre(frame(1), zeros(frame_bytes), frame(2)));
}

}  // namespace
