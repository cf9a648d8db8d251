// SPDX-License-Identifier: MIT
#include "player/voice_recording.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <numeric>
#include <string>

#include "support/capture.h"
#include "support/temp_dir.h"

namespace {

constexpr std::size_t frame_bytes = 12;

Bytes operator+(Bytes left, const Bytes& right) {
    left.insert(left.end(), right.begin(), right.end());
    return left;
}

Bytes repeated(int value, std::size_t count) {
    return Bytes(count, static_cast<std::uint8_t>(value));
}

// A frame of twelve consecutive values.
Bytes frame_from(int first) {
    Bytes frame(frame_bytes);
    std::iota(frame.begin(), frame.end(), static_cast<std::uint8_t>(first));
    return frame;
}

const Bytes header = bytes_of("DVTOOL") + bytes({0, 0xAA, 0xBB, 0xCC});

Bytes with_length(const Bytes& body) {
    return bytes({static_cast<int>(body.size() & 0xFF), static_cast<int>(body.size() >> 8)}) + body;
}

// 15 bytes before the frame, none of them 0.
Bytes record(const Bytes& frame) {
    return with_length(repeated(0x11, 15) + frame);
}

const Bytes first_record = with_length(repeated(0x77, 56));

struct Reading {
    int result = 0;
    std::string out;
    std::vector<Bytes> frames;
};

// Opens a file of `content` and reads at most `limit` frames, each put through `change` first.
Reading reading_of(const Bytes& content, std::size_t limit = 100, void (*change)(VoiceFrame) = nullptr) {
    const TempDir dir;
    write_file(dir / "rec", content);
    static VoiceRecording recording;
    Reading reading;
    reading.out = output_of([&] { reading.result = voice_recording_open(recording, (dir / "rec").c_str()); }).out;
    if (reading.result < 0) return reading;
    while (reading.frames.size() < limit) {
        const std::optional<VoiceFrame> frame = voice_recording_next(recording);
        if (!frame) break;
        if (change) change(*frame);
        reading.frames.emplace_back(frame->begin(), frame->end());
    }
    voice_recording_close(recording);
    return reading;
}

std::vector<Bytes> frames_of(const Bytes& content, std::size_t limit = 100) {
    return reading_of(content, limit).frames;
}

using Frames = std::vector<Bytes>;

}  // namespace

TEST(VoiceRecording, MissingFileIsNotFound) {
    static VoiceRecording recording;
    int result = 0;
    const Output output = output_of([&] { result = voice_recording_open(recording, "/nonexistent/rec.ambe"); });
    EXPECT_EQ(result, -1);
    EXPECT_EQ(output.out, ": NOT FOUND\n");
    EXPECT_EQ(output.err, "");
}

TEST(VoiceRecording, FewerThanTenBytesAreAShortFile) {
    for (std::size_t size = 0; size < 10; size++) {
        const Reading reading = reading_of(repeated('D', size));
        EXPECT_EQ(reading.result, -1) << size;
        EXPECT_EQ(reading.out, ": SHORT FILE\n") << size;
    }
}

TEST(VoiceRecording, DirectoryIsAShortFile) {
    const TempDir dir;
    static VoiceRecording recording;
    const Output output = output_of([&] { EXPECT_EQ(voice_recording_open(recording, dir.path().c_str()), -1); });
    EXPECT_EQ(output.out, ": SHORT FILE\n");
}

TEST(VoiceRecording, DvtoolFormIsSaidAndRawFormIsNot) {
    EXPECT_EQ(reading_of(header + first_record).out, " (DVTOOL)");
    EXPECT_EQ(reading_of(repeated(1, 12)).out, "");
}

TEST(VoiceRecording, TenBytesOfRawFormYieldNoFrame) {
    const Reading reading = reading_of(repeated(1, 10));
    EXPECT_EQ(reading.result, 0);
    EXPECT_EQ(reading.frames, Frames{});
}

TEST(VoiceRecording, TenBytesOfDvtoolYieldNoFrame) {
    EXPECT_EQ(frames_of(header), Frames{});
}

TEST(VoiceRecording, SeventhByteNotZeroIsRaw) {
    const Bytes content = bytes_of("DVTOOLx") + repeated(5, 17);
    EXPECT_EQ(frames_of(content), (Frames{Bytes(content.begin(), content.begin() + 12), repeated(5, 12)}));
}

TEST(VoiceRecording, RawFramesBeginAtTheFirstByte) {
    EXPECT_EQ(frames_of(frame_from(1) + frame_from(101)), (Frames{frame_from(1), frame_from(101)}));
}

TEST(VoiceRecording, PartialRawFrameIsDropped) {
    EXPECT_EQ(frames_of(frame_from(1) + frame_from(101) + repeated(9, 6)), (Frames{frame_from(1), frame_from(101)}));
}

TEST(VoiceRecording, FirstRecordIsSkippedAndTheFrameIsBytes15To26) {
    EXPECT_EQ(frames_of(header + first_record + record(frame_from(30)) + record(frame_from(60))),
              (Frames{frame_from(30), frame_from(60)}));
}

TEST(VoiceRecording, FirstRecordMayBeEmpty) {
    EXPECT_EQ(frames_of(header + bytes({0, 0}) + record(frame_from(30))), Frames{frame_from(30)});
}

TEST(VoiceRecording, BytesAfterTheFrameAreNotRead) {
    const Bytes longer = with_length(repeated(0x11, 15) + frame_from(30) + repeated(0x99, 300));
    EXPECT_EQ(frames_of(header + first_record + longer + record(frame_from(60))),
              (Frames{frame_from(30), frame_from(60)}));
}

TEST(VoiceRecording, RecordOf65535BytesIsReadWhole) {
    const Bytes largest = with_length(repeated(0x11, 15) + frame_from(30) + repeated(0x99, 65535 - 27));
    EXPECT_EQ(frames_of(header + first_record + largest + record(frame_from(60))),
              (Frames{frame_from(30), frame_from(60)}));
}

TEST(VoiceRecording, LengthHasItsLowByteFirst) {
    const Bytes record_of_513 = bytes({0x01, 0x02}) + repeated(0x11, 15) + frame_from(30) + repeated(0x99, 513 - 27);
    EXPECT_EQ(frames_of(header + first_record + record_of_513 + record(frame_from(60))).size(), 2u);
}

TEST(VoiceRecording, FirstRecordLongerThanTheFileYieldsNoFrame) {
    // The length of the skipped record is 0x0101, then the file ends: the stale length 0x0101 is not there either.
    EXPECT_EQ(frames_of(header + bytes({1, 1}) + repeated(0x22, 60)), Frames{});
}

TEST(VoiceRecording, RecordShorterThanItsLengthEndsTheFile) {
    const Bytes cut = bytes({27, 0}) + repeated(0x11, 15) + repeated(0x44, 11);
    EXPECT_EQ(frames_of(header + first_record + record(frame_from(30)) + cut), Frames{frame_from(30)});
}

TEST(VoiceRecording, ShortRecordLeavesFrameBytesOfEarlierRecords) {
    // 20 bytes replace frame bytes 0 to 4 only.
    const Bytes shorter = with_length(repeated(0x11, 15) + bytes({1, 2, 3, 4, 5}));
    EXPECT_EQ(frames_of(header + first_record + record(frame_from(30)) + shorter + record(frame_from(60))),
              (Frames{frame_from(30), bytes({1, 2, 3, 4, 5, 35, 36, 37, 38, 39, 40, 41}), frame_from(60)}));
}

TEST(VoiceRecording, RecordOfLengthZeroRepeatsTheFrameBeforeIt) {
    EXPECT_EQ(frames_of(header + first_record + record(frame_from(30)) + bytes({0, 0}) + record(frame_from(60))),
              (Frames{frame_from(30), frame_from(30), frame_from(60)}));
}

TEST(VoiceRecording, SkippedFirstRecordLeavesNothingInTheBuffer) {
    // A record of 16 bytes gives one frame byte; the other eleven are the zeros that the buffer began with.
    const Bytes sixteen = with_length(repeated(0x11, 15) + bytes({9}));
    EXPECT_EQ(frames_of(header + first_record + sixteen + record(frame_from(60))),
              (Frames{bytes({9, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0}), frame_from(60)}));
}

TEST(VoiceRecording, BufferIsZeroedWhenTheNextFileIsOpened) {
    EXPECT_EQ(frames_of(header + first_record + record(frame_from(30))).size(), 1u);
    EXPECT_EQ(frames_of(header + first_record + with_length(bytes({1})) + record(frame_from(60))),
              (Frames{repeated(0, 12), frame_from(60)}));
}

TEST(VoiceRecording, MissingFirstLengthReusesTheHeadersBytes) {
    // "DV" is 0x5644: nothing is there to skip and nothing follows.
    EXPECT_EQ(reading_of(header).frames, Frames{});
    // One length byte 0x00 joins the stale "V" to 0x5600, twice: a length of 0 would be a frame.
    EXPECT_EQ(reading_of(header + bytes({0})).frames, Frames{});
}

TEST(VoiceRecording, MissingLengthReusesTheFirstTwoBytesOfTheRecordBefore) {
    // The record before begins with 0x1111: 4369 bytes are wanted and none is there.
    EXPECT_EQ(frames_of(header + first_record + record(frame_from(30))), Frames{frame_from(30)});
}

TEST(VoiceRecording, HalfALengthTakesItsHighByteFromTheRecordBefore) {
    // The record begins 05 00; the lone last byte 00 makes the length 0x0000: a repeated frame. Then, with no byte left
    // and 00 00 in place, frames without end follow.
    const Bytes begins_with_5_0 = with_length(bytes({5, 0}) + repeated(0x11, 13) + frame_from(30));
    const std::vector<Bytes> frames = frames_of(header + first_record + begins_with_5_0 + bytes({0}), 4);
    EXPECT_EQ(frames, Frames(4, frame_from(30)));
}

TEST(VoiceRecording, HalfALengthIsItselfLeftForTheNextOne) {
    // After 01 the stale 00 makes length 1, which is not there: the end.
    const Bytes begins_with_5_0 = with_length(bytes({5, 0}) + repeated(0x11, 13) + frame_from(30));
    EXPECT_EQ(frames_of(header + first_record + begins_with_5_0 + bytes({1})), Frames{frame_from(30)});
}

TEST(VoiceRecording, StaleLengthOfZeroEndsAfter65536FramesWithoutInput) {
    const Bytes begins_with_0 = with_length(bytes({0, 0}) + repeated(0x11, 13) + frame_from(30));
    const std::vector<Bytes> frames = frames_of(header + first_record + begins_with_0, 100000);
    EXPECT_EQ(frames.size(), 1u + 65536u);
    EXPECT_EQ(frames.back(), frame_from(30));
}

TEST(VoiceRecording, EmptyRecordsInTheFileAreNotCountedAsFramesWithoutInput) {
    Bytes content = header + first_record + record(frame_from(30));
    content.resize(content.size() + 2 * 70000);  // 70000 records of length 0, then a stale length of 0
    EXPECT_EQ(frames_of(content, 200000).size(), 1u + 70000u + 65536u);
}

TEST(VoiceRecording, StaleBytesAreMirroredAgainWhenTheyAreSentAgain) {
    const Bytes content =
        header + first_record + record(repeated(0xA0, 12)) + bytes({0, 0}) + bytes({0, 0}) + record(repeated(0x0F, 12));
    EXPECT_EQ(reading_of(content, 4, reverse_frame_bits).frames,
              (Frames{repeated(0x05, 12), repeated(0xA0, 12), repeated(0x05, 12), repeated(0xF0, 12)}));
}

TEST(VoiceRecording, RawFormThatCannotBeOpenedAgainYieldsNoFrame) {
    static VoiceRecording not_open_again = {};  // as it is left when the second opening fails
    EXPECT_FALSE(voice_recording_next(not_open_again));
    voice_recording_close(not_open_again);
}

TEST(FrameBits, EachOfThe256BytesIsMirrored) {
    for (int value = 0; value < 256; value++) {
        int reversed = 0;
        for (int weight = 1, mirror = 128; weight < 256; weight *= 2, mirror /= 2) {
            if (value / weight % 2 == 1) reversed += mirror;
        }
        Bytes frame = repeated(value, 12);
        reverse_frame_bits(std::span(frame).first<frame_bytes>());
        EXPECT_EQ(frame, repeated(reversed, 12));
    }
}

TEST(FrameBits, ExamplesOfMirroredBytes) {
    Bytes frame = bytes({0x01, 0x0F, 0xA0, 0x80, 0xF0, 0x05, 0x00, 0xFF, 0x12, 0x48, 0x55, 0xAA});
    reverse_frame_bits(std::span(frame).first<frame_bytes>());
    EXPECT_EQ(frame, bytes({0x80, 0xF0, 0x05, 0x01, 0x0F, 0xA0, 0x00, 0xFF, 0x48, 0x12, 0xAA, 0x55}));
}
