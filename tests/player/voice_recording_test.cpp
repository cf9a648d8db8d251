// SPDX-License-Identifier: MIT
#include "player/voice_recording.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstring>
#include <string>

#include "support/capture.h"
#include "support/recordings.h"
#include "support/temp_dir.h"

namespace {

using Frames = std::vector<Bytes>;

const Bytes no_frame_byte = zeros(frame_bytes);
constexpr std::size_t frames_without_input = 65536;

struct Reading {
    int result = 0;
    Output output;
    Frames frames;
};

// Opens a file of `content` and reads at most `limit` frames, each put through `change` first.
Reading reading_of(const Bytes& content, std::size_t limit = 100, void (*change)(VoiceFrame) = nullptr) {
    const TempDir dir;
    write_file(dir / "rec", content);
    static VoiceRecording recording;
    Reading reading;
    reading.output = output_of([&] { reading.result = voice_recording_open(recording, (dir / "rec").c_str()); });
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

Output opening_of(const std::string& path) {
    static VoiceRecording recording;
    return output_of([&] { EXPECT_EQ(voice_recording_open(recording, path.c_str()), -1); });
}

// A record with frame 1, its first two bytes replaced: they are what a missing length is made of.
Bytes record_beginning(int first, int second) {
    return bytes({first, second}) + from_byte(record(frame(1)), 2);
}

void expect_frames(const char* what, const Bytes& content, const Frames& expected) {
    EXPECT_EQ(reading_of(content).frames, expected) << what;
}

}  // namespace

TEST(VoiceRecording, MissingFileIsNotFoundAndADirectoryIsAShortFile) {
    const TempDir dir;
    EXPECT_EQ(opening_of(dir / "missing").out, ": NOT FOUND\n");
    EXPECT_EQ(opening_of(dir / "missing").err, "");
    EXPECT_EQ(opening_of(dir.path()).out, ": SHORT FILE\n");
}

TEST(VoiceRecording, FewerThanTenBytesAreAShortFile) {
    for (std::size_t size = 0; size < 10; size++) {
        const Reading reading = reading_of(Bytes(size, 'D'));
        EXPECT_EQ(reading.result, -1) << size;
        EXPECT_EQ(reading.output.out, ": SHORT FILE\n") << size;
    }
}

TEST(VoiceRecording, DvtoolFormIsSaidAndRawFormIsNot) {
    EXPECT_EQ(reading_of(dvtool_recording({})).output.out, " (DVTOOL)");
    EXPECT_EQ(reading_of(raw_recording(frames(1))).output.out, "");
}

TEST(VoiceRecording, RawFormIsFramesFromItsFirstByteOn) {
    const Bytes seventh_byte_1 = bytes_of("DVTOOL\1") + Bytes(17, 5);
    const Bytes lower_case = bytes_of("dVTOOL") + Bytes(18, 0);
    expect_frames("ten bytes", Bytes(10, 1), {});
    expect_frames("two frames", raw_recording(frames(2)), frames(2));
    expect_frames("partial frame at the end", raw_recording(frames(2)) + Bytes(6, 9), frames(2));
    expect_frames("seventh byte not zero", seventh_byte_1, {first_bytes(seventh_byte_1, 12), Bytes(12, 5)});
    expect_frames("lower-case letter", lower_case, {first_bytes(lower_case, 12), zeros(12)});
}

TEST(VoiceRecording, FirstRecordIsSkippedWholeWhateverItsSizeAndTheHeadersLastBytes) {
    const Bytes two_records = with_length(record(frame(1))) + with_length(record(frame(2)));
    for (const std::size_t size : {0U, 1U, 27U, 56U, 256U, 65535U})
        EXPECT_EQ(reading_of(dvtool_header() + with_length(Bytes(size, 0xCC)) + two_records).frames, frames(2)) << size;
    EXPECT_EQ(reading_of(bytes_of("DVTOOL") + bytes({0, 0xFF, 0xFF, 0xFF, 0, 0}) + two_records).frames, frames(2));
}

TEST(VoiceRecording, FrameIsBytes15To26OfARecordOfAnyLength) {
    for (const std::size_t size : {27U, 28U, 400U, 513U, 0x8000U, 0xFF00U, 65535U}) {  // low byte first, unsigned
        const Bytes content =
            dvtool_recording({record(frame(1)) + Bytes(size - 27, 0x20), record(frame(2)) + Bytes(size - 27, 0x20)});
        EXPECT_EQ(reading_of(content).frames, frames(2)) << size;
        EXPECT_EQ(reading_of(first_bytes(content, content.size() - 1)).frames, frames(1)) << size << ", cut";
    }
}

// A record or frame that begins in the file and ends beyond its size is one of the file.
TEST(VoiceRecording, FileThatGrowsWhileItIsReadEndsAfter65536FramesFromBeyondItsSize) {
    const Bytes two_records = dvtool_recording({record(frame(1)), record(frame(2))});
    const Bytes no_record = dvtool_recording({});
    const Bytes last = with_length(record(frame(2)));
    const Bytes empty_records = zeros(2 * 70000);
    const Bytes raw(12 * 70000, 0x33);
    const struct {
        const char* what;
        Bytes when_opened, when_read;
        std::size_t frames_of_the_file;
    } rows[] = {
        {"records",                     two_records, two_records + empty_records,      2},
        { "raw frames",              first_bytes(raw,         24),                              raw, 2},
        { "record across the end", no_record + first_bytes(last,         10), no_record + last + empty_records, 1},
        { "raw frame across the end",              first_bytes(raw,         13),                              raw, 2},
    };
    for (const auto& row : rows) {
        const TempDir dir;
        write_file(dir / "rec", row.when_opened);
        static VoiceRecording recording;
        output_of([&] { ASSERT_EQ(voice_recording_open(recording, (dir / "rec").c_str()), 0); });
        write_file(dir / "rec", row.when_read);
        std::size_t count = 0;
        while (count < 200000 && voice_recording_next(recording)) count++;
        EXPECT_EQ(count, row.frames_of_the_file + frames_without_input) << row.what;
        voice_recording_close(recording);
    }
}

// Nothing is sought in it: the first record is skipped byte by byte. It has no size, so that its frames are not
// counted.
TEST(VoiceRecording, RecordingComesFromAPipeAsWell) {
    const TempDir dir;
    const std::string path = dir / "rec";
    ASSERT_EQ(mkfifo(path.c_str(), 0600), 0);
    std::vector<Bytes> records;
    for (int i = 0; i < 700; i++) records.push_back(record(frame(i % 100)));
    for (int i = 0; i < 66000; i++) records.push_back(bytes({1}));
    const Bytes content = dvtool_recording(records);
    const pid_t writer = fork();
    if (writer == 0) {
        const int pipe = open(path.c_str(), O_WRONLY);
        const bool whole = write(pipe, content.data(), content.size()) == static_cast<ssize_t>(content.size());
        _exit(whole ? 0 : 1);
    }
    static VoiceRecording recording;
    output_of([&] { ASSERT_EQ(voice_recording_open(recording, path.c_str()), 0); });
    int count = 0;
    while (const std::optional<VoiceFrame> read = voice_recording_next(recording)) {
        ASSERT_EQ(Bytes(read->begin(), read->end()), frame(count < 700 ? count % 100 : 99));
        count++;
    }
    EXPECT_EQ(count, 700 + 66000);
    voice_recording_close(recording);
    waitpid(writer, nullptr, 0);
}

TEST(VoiceRecording, RecordOf65535BytesStaysInsideItsBuffer) {
    static struct {
        VoiceRecording recording;
        std::uint8_t behind[64];
    } memory;
    std::memset(memory.behind, 0xEE, sizeof memory.behind);
    const TempDir dir;
    write_file(dir / "rec", dvtool_header() + with_length(Bytes(65535, 0x99)) + with_length(Bytes(65535, 0x99)));
    output_of([&] { ASSERT_EQ(voice_recording_open(memory.recording, (dir / "rec").c_str()), 0); });
    EXPECT_TRUE(voice_recording_next(memory.recording));
    EXPECT_EQ(sizeof memory.recording.buffer, 65535u);
    EXPECT_EQ(memory.recording.buffer[65534], 0x99);
    EXPECT_EQ(Bytes(std::begin(memory.behind), std::end(memory.behind)), Bytes(64, 0xEE));
    voice_recording_close(memory.recording);
}

TEST(VoiceRecording, RecordShorterThanItsLengthEndsTheFile) {
    for (std::size_t kept = 0; kept < 27; kept++) {
        const Bytes cut = low_first_2(27) + first_bytes(record(frame(2)), kept);
        EXPECT_EQ(reading_of(dvtool_recording({record(frame(1))}) + cut).frames, frames(1)) << kept;
    }
}

// The buffer is zeroed when a file is opened; the skipped first record leaves nothing in it.
TEST(VoiceRecording, ShortRecordLeavesFrameBytesOfEarlierRecords) {
    const Bytes of_20 = zeros(15) + bytes({1, 2, 3, 4, 5});
    const Bytes of_16 = zeros(15) + bytes({9});
    const Bytes long_first = dvtool_header() + with_length(Bytes(60, 0xCC));
    expect_frames("20 bytes replace five of the frame", dvtool_recording({record(frame(1)), of_20, record(frame(2))}),
                  {frame(1), bytes({1, 2, 3, 4, 5}) + from_byte(frame(1), 5), frame(2)});
    expect_frames("15 and 1 bytes replace none",
                  dvtool_recording({record(frame(1)), zeros(15), zeros(1), record(frame(2))}),
                  {frame(1), frame(1), frame(1), frame(2)});
    expect_frames("only the skipped record before", long_first + with_length(of_16) + with_length(record(frame(1))),
                  {bytes({9}) + zeros(11), frame(1)});
}

TEST(VoiceRecording, RecordOfLengthZeroRepeatsTheFrameBeforeIt) {
    expect_frames("two of them", dvtool_recording({record(frame(1)), {}, {}, record(frame(2))}),
                  {frame(1), frame(1), frame(1), frame(2)});
    expect_frames("nothing before", dvtool_recording({{}, record(frame(1))}), {no_frame_byte, frame(1)});
}

TEST(VoiceRecording, MissingFirstLengthReusesTheHeadersBytes) {
    expect_frames("\"DV\" is 0x5644, neither skipped nor there", dvtool_header(), {});
    expect_frames("0x5600, likewise: a length of 0 would be a frame", dvtool_header() + bytes({0}), {});
    expect_frames("0x5602, likewise", dvtool_header() + bytes({2}), {});
}

TEST(VoiceRecording, MissingLengthReusesTheFirstTwoBytesOfTheRecordBefore) {
    expect_frames("0x6160, nothing is there", dvtool_recording({record(frame(1))}), frames(1));
    expect_frames("a first record beyond the end, 0x0101", dvtool_header() + bytes({1, 1}) + Bytes(60, 0x22), {});
    expect_frames("0x03E8 for 999 bytes", dvtool_header() + low_first_2(1000) + Bytes(999, 0xCC), {});
}

TEST(VoiceRecording, HalfALengthTakesItsHighByteFromTheRecordBefore) {
    const Bytes begins_with_5_0 = dvtool_recording({record_beginning(5, 0)});
    expect_frames("0x0001, which is not there", begins_with_5_0 + bytes({1}), frames(1));
    expect_frames("0x0003, likewise", begins_with_5_0 + bytes({3}), frames(1));
    EXPECT_EQ(reading_of(begins_with_5_0 + bytes({0}), 4).frames, Frames(4, frame(1)));  // 0x0000, again and again
}

TEST(VoiceRecording, StaleLengthOfZeroEndsAfter65536FramesWithoutInput) {
    const auto expect_repeated = [](const Bytes& content, const Bytes& frame, std::size_t count) {
        EXPECT_EQ(reading_of(content, 200000).frames, Frames(count, frame));
    };
    expect_repeated(dvtool_header() + bytes({0, 0}), no_frame_byte, frames_without_input);
    expect_repeated(dvtool_recording({record_beginning(0, 0)}), frame(1), 1 + frames_without_input);
    // The lone byte makes it 0x0000, one more frame; then it is 0x0000 without any.
    expect_repeated(dvtool_recording({record_beginning(5, 0)}) + bytes({0}), frame(1), 2 + frames_without_input);
    // Empty records that are in the file are not counted.
    expect_repeated(dvtool_recording({record(frame(1))}) + zeros(2 * 70000), frame(1),
                    1 + 70000 + frames_without_input);
}

TEST(VoiceRecording, StaleBytesAreReversedAgainWhenTheyAreSentAgain) {
    const Bytes content = dvtool_recording({record(Bytes(12, 0xA0)), {}, {}, record(Bytes(12, 0x0F))});
    EXPECT_EQ(reading_of(content, 4, reverse_frame_bits).frames,
              (Frames{Bytes(12, 0x05), Bytes(12, 0xA0), Bytes(12, 0x05), Bytes(12, 0xF0)}));
}

TEST(VoiceRecording, RawFormThatCannotBeOpenedAgainYieldsNoFrame) {
    static VoiceRecording not_open_again = {};  // as it is left when the second opening fails
    EXPECT_FALSE(voice_recording_next(not_open_again));
    voice_recording_close(not_open_again);
}

TEST(FrameBits, EachOfThe256BytesIsReversed) {
    for (int value = 0; value < 256; value++) {
        int expected = 0;
        for (int weight = 1, mirror = 128; weight < 256; weight *= 2, mirror /= 2) {
            if (value / weight % 2 == 1) expected += mirror;
        }
        Bytes frame(frame_bytes, static_cast<std::uint8_t>(value));
        reverse_frame_bits(std::span(frame).first<frame_bytes>());
        EXPECT_EQ(frame, Bytes(frame_bytes, static_cast<std::uint8_t>(expected)));
    }
}

TEST(FrameBits, ExamplesOfReversedBytes) {
    Bytes frame = bytes({0x01, 0x0F, 0xA0, 0x80, 0xF0, 0x05, 0x00, 0xFF, 0x12, 0x48, 0x55, 0xAA});
    reverse_frame_bits(std::span(frame).first<frame_bytes>());
    EXPECT_EQ(frame, bytes({0x80, 0xF0, 0x05, 0x01, 0x0F, 0xA0, 0x00, 0xFF, 0x48, 0x12, 0xAA, 0x55}));
}
