// SPDX-License-Identifier: MIT
// Recordings through the whole program: which frames the vocoder gets, whole and damaged.
#include <gmock/gmock.h>

#include "program/recordings.h"
#include "program/scenario.h"

namespace {

using testing::Each;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr std::size_t frames_without_input_limit = 65536;
const Bytes zero_frame = zeros(frame_bytes);

struct Decoded {
    std::vector<Bytes> frames;  // as the vocoder got them
    std::string out;            // from "Converting" on
};

// The vocoder asks for every frame there is.
Decoded decoded(const Bytes& recording, const Lines& options = {"-W"}) {
    Scenario scenario;
    scenario.add_file("rec.x", recording);
    scenario.arguments = options;
    scenario.arguments.push_back("rec.x");
    scenario.script = "rest 48 5\n";
    const Outcome outcome = scenario.run();
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.err, convert_teardown());
    return {frames_sent(outcome.calls), outcome.out.substr(outcome.out.find("Converting"))};
}

std::string raw_line(std::size_t frames) {
    return "Converting file 'rec.x' to 'rec.wav': " + spinner(static_cast<int>(frames) + 1) + "DONE\n";
}

std::string dvtool_line(std::size_t frames) {
    return "Converting file 'rec.x' (DVTOOL) to 'rec.wav': " + spinner(static_cast<int>(frames) + 1) + "DONE\n";
}

void expect_frames(const Bytes& recording, const std::vector<Bytes>& expected) {
    const Decoded result = decoded(recording);
    EXPECT_EQ(result.frames, expected);
    EXPECT_TRUE(result.out == raw_line(expected.size()) || result.out == dvtool_line(expected.size())) << result.out;
}

TEST(Recordings, RawRecordingIsFramesFromItsFirstByteOn) {
    expect_frames(raw_recording(frames(5)), frames(5));
}

TEST(Recordings, RawRecordingOf30BytesYieldsTwoFrames) {
    const Decoded result = decoded(raw_recording(frames(2)) + zeros(6));
    EXPECT_EQ(result.frames, frames(2));
    EXPECT_EQ(result.out, raw_line(2));
}

TEST(Recordings, TenBytesThatAreNotDvtoolYieldNoFrame) {
    const Decoded result = decoded(zeros(10));
    EXPECT_THAT(result.frames, IsEmpty());
    EXPECT_EQ(result.out, "Converting file 'rec.x' to 'rec.wav': |\bDONE\n");
}

TEST(Recordings, DvtoolWithoutItsZeroIsRaw) {
    Bytes content = dvtool_header() + zeros(2);
    content[6] = 1;
    const Decoded result = decoded(content);
    EXPECT_THAT(result.frames, ElementsAre(content));
    EXPECT_EQ(result.out, raw_line(1));
    Bytes lower = dvtool_recording({record(frame(1))});
    lower[0] = 'd';
    EXPECT_EQ(decoded(lower).frames.size(), lower.size() / frame_bytes);
}

TEST(Recordings, DvtoolRecordingYieldsBytes15To26OfEachRecord) {
    const Decoded result = decoded(dvtool_recording({record(frame(1)), record(frame(2)), record(frame(3))}));
    EXPECT_EQ(result.frames, frames(3));
    EXPECT_EQ(result.out, dvtool_line(3));
}

TEST(Recordings, LastThreeHeaderBytesAreNotInterpreted) {
    Bytes content = dvtool_recording({record(frame(1))});
    content[7] = content[8] = content[9] = 0xFF;
    expect_frames(content, frames(1));
}

TEST(Recordings, FirstRecordIsSkippedWhole) {
    for (const std::size_t size : {0U, 1U, 27U, 56U, 256U, 65535U}) {
        expect_frames(dvtool_header() + with_length(Bytes(size, 0xCC)) + with_length(record(frame(1))), {frame(1)});
    }
}

TEST(Recordings, SkippedFirstRecordLeavesNothingInTheBuffer) {
    expect_frames(dvtool_header() + with_length(Bytes(60, 0xCC)) + with_length(Bytes(15, 0x11)), {zero_frame});
}

TEST(Recordings, FirstRecordLongerThanTheFileYieldsNoFrame) {
    expect_frames(dvtool_header() + low_first_2(1000) + Bytes(999, 0xCC), {});
    expect_frames(dvtool_header() + low_first_2(1000), {});
    expect_frames(dvtool_header() + low_first_2(65535) + Bytes(3, 0), {});
}

TEST(Recordings, FirstLengthThatIsMissingIsMadeOfTheHeadersDAndV) {
    expect_frames(dvtool_header(), {});  // 0x5644 bytes are skipped and asked for again
    // One byte, 0x02: with the header's "V" 0x5602 bytes are skipped, so nothing is left.
    expect_frames(dvtool_header() + bytes({0x02}), {});
}

TEST(Recordings, LongRecordsAreReadWhole) {
    for (const std::size_t size : {28U, 400U, 4096U, 32768U, 65535U}) {
        const Bytes filler(size - 27, 0x20);
        expect_frames(dvtool_recording({record(frame(1)) + filler, record(frame(2)), record(frame(3)) + filler}),
                      frames(3));
    }
}

TEST(Recordings, LongestRecordCutByOneByteEndsTheFile) {
    Bytes content = dvtool_recording({record(frame(1)), record(frame(2)) + Bytes(65508, 0x20)});
    content.pop_back();
    expect_frames(content, {frame(1)});
}

TEST(Recordings, LengthIsUnsigned) {  // 0x8000 and 0xFF00 are no negative numbers
    expect_frames(dvtool_recording({record(frame(1)) + Bytes(0x8000 - 27, 0x20), record(frame(2))}), frames(2));
    expect_frames(dvtool_recording({record(frame(1)) + Bytes(0xFF00 - 27, 0x20), record(frame(2))}), frames(2));
}

TEST(Recordings, ShortRecordLeavesFrameBytesOfTheRecordBefore) {
    const Bytes short_record = zeros(15) + bytes({0x71, 0x72, 0x73, 0x74, 0x75});  // 20 bytes: five of the frame
    const Bytes mixed = bytes({0x71, 0x72, 0x73, 0x74, 0x75}) + from_byte(frame(1), 5);
    expect_frames(dvtool_recording({record(frame(1)), short_record, record(frame(2))}), {frame(1), mixed, frame(2)});
}

TEST(Recordings, RecordTooShortForAnyFrameByteRepeatsTheFrame) {
    expect_frames(dvtool_recording({record(frame(1)), zeros(15), zeros(1), record(frame(2))}),
                  {frame(1), frame(1), frame(1), frame(2)});
}

TEST(Recordings, RecordOfLengthZeroIsAFrameOfEarlierBytes) {
    expect_frames(dvtool_recording({record(frame(1)), {}, {}, record(frame(2))}),
                  {frame(1), frame(1), frame(1), frame(2)});
    expect_frames(dvtool_recording({{}, record(frame(1))}), {zero_frame, frame(1)});
}

TEST(Recordings, ShortLastRecordIsDropped) {
    for (std::size_t kept = 0; kept < 27; kept++) {
        expect_frames(dvtool_recording({record(frame(1))}) + low_first_2(27) + first_bytes(record(frame(2)), kept),
                      {frame(1)});
    }
}

TEST(Recordings, StaleLengthIsTheFirstTwoBytesOfTheRecordBefore) {  // 0x6160 bytes are asked for, none are there
    expect_frames(dvtool_recording({record(frame(1))}), {frame(1)});
}

TEST(Recordings, SecondLengthByteThatIsMissingIsTheRecordBeforesSecond) {
    // The record begins with 05 00; the file ends after a length byte of 0: length 0x0000, one more frame. Then
    // neither byte is there: again 0x0000, on and on.
    Bytes begins_with_5_0 = record(frame(1));
    begins_with_5_0[0] = 5;
    begins_with_5_0[1] = 0;
    const std::vector<Bytes> result = decoded(dvtool_recording({begins_with_5_0}) + bytes({0})).frames;
    EXPECT_EQ(result.size(), 2 + frames_without_input_limit);
    EXPECT_THAT(result, Each(frame(1)));

    // With a length byte of 3 the stale 0 makes it 0x0003: nothing to read, the file ends.
    expect_frames(dvtool_recording({begins_with_5_0}) + bytes({3}), {frame(1)});
}

Bytes record_beginning_with_zeros(int number) {
    Bytes content = record(frame(number));
    content[0] = content[1] = 0;
    return content;
}

TEST(Recordings, StaleLengthOfZeroAtTheEndRepeatsTheFrame65536TimesAndIsThenDone) {
    const Decoded result = decoded(dvtool_recording({record(frame(9)), record_beginning_with_zeros(1)}));
    ASSERT_EQ(result.frames.size(), 2 + frames_without_input_limit);
    EXPECT_EQ(result.frames[0], frame(9));
    EXPECT_THAT(std::vector<Bytes>(result.frames.begin() + 1, result.frames.end()), Each(frame(1)));
    EXPECT_EQ(result.out, dvtool_line(2 + frames_without_input_limit));
}

TEST(Recordings, FirstLengthOfZeroAtTheEndGivesFramesOfZeros) {
    const std::vector<Bytes> result = decoded(dvtool_header() + low_first_2(0)).frames;
    EXPECT_EQ(result.size(), frames_without_input_limit);
    EXPECT_THAT(result, Each(zero_frame));
}

TEST(Recordings, ZeroLengthsThatAreInTheFileAreNotBounded) {
    std::vector<Bytes> records = {record(frame(1))};
    records.resize(70000);  // empty ones
    records.push_back(record(frame(2)));
    const std::vector<Bytes> result = decoded(dvtool_recording(records)).frames;
    ASSERT_EQ(result.size(), 70001U);
    EXPECT_EQ(result[69999], frame(1));
    EXPECT_EQ(result[70000], frame(2));
}

TEST(Recordings, ReversedFrameIsTheBitMirror) {
    const Bytes content = bytes({0xA0, 0x01, 0x0F, 0x80, 0x00, 0xFF, 0x55, 0x12, 0x34, 0x56, 0x78, 0x9A});
    EXPECT_THAT(decoded(content, {"-RW"}).frames,
                ElementsAre(bytes({0x05, 0x80, 0xF0, 0x01, 0x00, 0xFF, 0xAA, 0x48, 0x2C, 0x6A, 0x1E, 0x59})));
}

TEST(Recordings, ReversalHappensInPlaceSoStaleBytesAreMirroredAgain) {
    const Bytes content = dvtool_recording({record(frame(1)), {}, {}, zeros(16), record(frame(2))});
    // The frame is mirrored, mirrored back, mirrored; then its first byte is replaced by 0, which mirrors to itself.
    const Bytes first_byte_0 = bytes({0}) + from_byte(frame(1), 1);
    EXPECT_THAT(decoded(content, {"-R", "-W"}).frames,
                ElementsAre(mirrored(frame(1)), frame(1), mirrored(frame(1)), first_byte_0, mirrored(frame(2))));
}

TEST(Recordings, ReversalOfFramesRepeatedAtTheEndAlternates) {
    const std::vector<Bytes> result = decoded(dvtool_recording({record_beginning_with_zeros(1)}), {"-R", "-W"}).frames;
    ASSERT_EQ(result.size(), 1 + frames_without_input_limit);
    for (std::size_t i = 0; i < result.size(); i++) ASSERT_EQ(result[i], i % 2 ? frame(1) : mirrored(frame(1))) << i;
}

TEST(Recordings, BufferIsZeroedForEachFile) {
    Scenario scenario;
    scenario.add_file("a.x", dvtool_recording({record(frame(1))}));
    scenario.add_file("b.x", dvtool_recording({{}, record(frame(2))}));
    scenario.arguments = {"-W", "a.x", "b.x"};
    scenario.script = "rest 48 5\n";
    EXPECT_THAT(frames_sent(scenario.run().calls), ElementsAre(frame(1), zero_frame, frame(2)));
}

TEST(Recordings, AllByteValuesPassUnchanged) {
    Bytes content;
    for (int i = 0; i < 256 * 3; i++) content.push_back(static_cast<std::uint8_t>(i));
    Bytes got;
    for (const Bytes& sent : decoded(content).frames) got = got + sent;
    EXPECT_EQ(got, content);
}

TEST(Recordings, LongRecordingKeepsEveryFrameInOrder) {
    std::vector<Bytes> expected;
    for (int i = 0; i < 3000; i++) expected.push_back(low_first_4(static_cast<unsigned>(i)) + from_byte(frame(1), 4));
    EXPECT_EQ(decoded(raw_recording(expected)).frames, expected);
    std::vector<Bytes> records;
    for (const Bytes& one : expected) records.push_back(record(one));
    EXPECT_EQ(decoded(dvtool_recording(records)).frames, expected);
}

}  // namespace
