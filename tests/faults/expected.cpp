// SPDX-License-Identifier: MIT
#include "faults/expected.h"

#include <gmock/gmock.h>

#include <algorithm>

#include "faults/line_vocoder.h"
#include "support/messages.h"
#include "support/recordings.h"

namespace {

constexpr std::size_t piece_bytes = 1024;

struct RecordingRow {
    const char* path;
    const char* form;  // printed behind the path
    const char* wave;
    int first_frame;
};

constexpr RecordingRow recording_rows[] = {
    {"rec.ambe", "",          "rec.wav", 1},
    {"b.dvtool", " (DVTOOL)", "b.wav",   4},
};

const RecordingRow& row_of(Recording recording) {
    return recording_rows[static_cast<int>(recording)];
}

std::string opening(Mode mode, Recording recording) {
    return std::string(mode == Mode::convert ? "Convert" : "Play") + "ing file '" + row_of(recording).path + "'";
}

// The audio among the first packets of a recording.
Bytes audio_in(Recording recording, int packets) {
    Bytes audio;
    int blocks = 0;
    for (int i = 0; i < packets; i++) blocks += is_request(i) ? 0 : 1;
    for (int number = row_of(recording).first_frame; blocks > 0; number++, blocks -= blocks_of_a_frame) {
        const int count = std::min(blocks, blocks_of_a_frame);
        audio = audio + first_bytes(decoded(number), static_cast<std::size_t>(count) * block_bytes);
    }
    return audio;
}

std::optional<Bytes> wave_left(Mode mode, const FileOutcome& outcome, const Bytes& audio) {
    if (mode == Mode::play || !outcome.has_wave) return std::nullopt;
    return outcome.wave ? *outcome.wave : pcm_file(audio);
}

void expect_file(const char* name, const std::optional<Bytes>& found, const std::optional<Bytes>& expected) {
    ASSERT_EQ(found.has_value(), expected.has_value()) << name;
    if (!found || *found == *expected) return;
    const auto difference = std::mismatch(found->begin(), found->end(), expected->begin(), expected->end());
    ADD_FAILURE() << name << " has " << found->size() << " bytes, not " << expected->size() << ", and differs at byte "
                  << difference.first - found->begin() << ". It begins "
                  << testing::PrintToString(first_bytes(*found, 60)) << ", not "
                  << testing::PrintToString(first_bytes(*expected, 60));
}

// The codec stream stays; the audio control is freed at the end of a run that came so far.
void expect_memory_given_back(Mode mode, const RunResult& found) {
    if (found.report.vocoder_starts == 0) return;
    const int freed = mode == Mode::play && found.status == 0 ? 1 : 0;
    EXPECT_EQ(found.report.held_at_end, found.report.held_before_files - freed);
    if (found.status == 0) {
        EXPECT_EQ(found.report.held_at_close, found.report.held_before_files) << "freed behind dongle_close only";
    }
}

}  // namespace

FileOutcome ran(Mode mode, Recording recording, int packets, const std::string& ending, const std::string& complaints,
                int more_turns) {
    const RecordingRow& row = row_of(recording);
    int turns = 1 + more_turns;
    for (int i = 0; i < packets; i++) turns += is_request(i) ? 1 : 0;
    const std::string target = mode == Mode::convert ? std::string(" to '") + row.wave + "'" : "";
    return {opening(mode, recording) + row.form + target + ": " + spinner(turns) + ending,
            complaints + (mode == Mode::convert ? convert_teardown() : play_teardown()), packets};
}

FileOutcome ran_well(Mode mode, Recording recording) {
    return ran(mode, recording, packets_of(recording));
}

FileOutcome refused(Mode mode, Recording recording, const std::string& rest, const std::string& err) {
    return {opening(mode, recording) + rest, err};
}

FileOutcome with_wave(FileOutcome outcome, const Bytes& wave) {
    outcome.wave = wave;
    return outcome;
}

FileOutcome without_wave(FileOutcome outcome) {
    outcome.has_wave = false;
    return outcome;
}

Expected run_of(Mode mode, const FileOutcome& first, const FileOutcome& second) {
    StreamModel codec;
    Expected expected;
    expected.out = (mode == Mode::convert ? convert_start_up() : play_start_up()) + first.out + second.out;
    expected.err = first.err + second.err;
    expected.first_wave = wave_left(mode, first, codec.hands_on(audio_in(Recording::first, first.packets)));
    expected.second_wave = wave_left(mode, second, codec.hands_on(audio_in(Recording::second, second.packets)));
    return expected;
}

Expected ended_at_start(const std::string& out, const std::string& err) {
    Expected expected;
    expected.status = 255;
    expected.out = out;
    expected.err = err;
    return expected;
}

Expected ended_without_vocoder(Mode mode) {
    Expected expected;
    expected.status = 1;
    expected.out = banner() + codec_line() + "\n" + (mode == Mode::play ? no_device_line + device_line : "");
    return expected;
}

Bytes piece(int number) {
    StreamModel codec;
    const Bytes all = codec.hands_on(audio_in(Recording::first, packets_of(Recording::first)) +
                                     audio_in(Recording::second, packets_of(Recording::second)));
    return slice(all, static_cast<std::size_t>(number - 1) * piece_bytes, piece_bytes);
}

void expect_run(const Conversion& conversion, const Expected& expected) {
    const Fault& fault = conversion.fault;
    const std::string which = std::string(call_name(fault.call)) + " fails" +
                              (fault.lasting ? " from call " : " at call ") + std::to_string(fault.first);
    SCOPED_TRACE(which);
    const RunResult found = run(conversion);
    EXPECT_EQ(found.signal, 0);
    EXPECT_EQ(found.status, expected.status);
    EXPECT_EQ(found.out, expected.out);
    EXPECT_EQ(found.err, expected.err);
    expect_file("rec.wav", found.first_wave, expected.first_wave);
    expect_file("b.wav", found.second_wave, expected.second_wave);
    EXPECT_EQ(found.line_put_back, expected.line_put_back);
    EXPECT_EQ(found.keyboard_put_back, expected.keyboard_put_back);
    EXPECT_EQ(found.report.descriptors_after, found.report.descriptors_before);
    EXPECT_EQ(found.report.vocoder_starts, expected.status == 255 ? 0 : 1);
    expect_memory_given_back(conversion.mode, found);
}
