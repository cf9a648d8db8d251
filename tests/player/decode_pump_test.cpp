// SPDX-License-Identifier: MIT
#include "player/decode_pump.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "link/dongle.h"
#include "player/walk.h"

namespace {

using Lines = std::vector<std::string>;

constexpr Answer failed = {.length = -1};
constexpr Answer nothing = {.length = 0};
constexpr Answer wants_frame = {.length = 48, .type = 5};
constexpr Answer pcm_block = {.length = 320, .type = 4};
constexpr Answer timed_out = {.length = 34, .type = 1};
constexpr Answer unknown = {.length = 7, .type = 7};

constexpr Poll no_key = {};
constexpr Poll key(int value) {
    return {.result = 1, .key = value};
}

Lines operator+(Lines first, const Lines& second) {
    first.insert(first.end(), second.begin(), second.end());
    return first;
}

struct PumpRun : TempDir {
    std::string directory = *this / "walk";
    WalkOutcome outcome;

    explicit PumpRun(const Walk& walk) : outcome(walk_pump(walk, directory)) {}

    std::string input(std::size_t index = 0) const { return recording_path(directory, index); }
    std::string output(std::size_t index = 0) const { return wave_path(directory, index); }

    // What a trace of one raw recording begins with, and what that of its conversion ends with but for the last words.
    Lines opening() const {
        return {"fopen(" + input() + ", rb)", "fclose(" + input() + ")", "fopen(" + input() + ", rb)"};
    }
    Lines teardown() const {
        return {"tcsetattr as found",
                "stderr: > Stopping Dongle.\\n",
                "dongle_run(0)",
                "stderr: > Dongle stopped.\\n> Closing RIFF.\\n",
                "fclose(" + output() + ")",
                "stderr: > RIFF closed.\\n> Closing DVX.\\n",
                "fclose(" + input() + ")",
                "stderr: > DVX closed.\\n"};
    }

    // What stands behind `start` in the lines of the trace that begin with it.
    Lines behind(const std::string& start) const {
        Lines rest;
        for (const std::string& line : outcome.trace) {
            if (line.starts_with(start)) rest.push_back(line.substr(start.size()));
        }
        return rest;
    }
    int count(const std::string& start) const { return static_cast<int>(behind(start).size()); }

    // All of standard output.
    std::string printed() const {
        std::string text;
        for (const std::string& piece : behind("stdout: ")) text += piece;
        return text;
    }

    // What the state machine does, a word each: "spin" (with its poll), "recv", "send <n>" for frame n, and at the end
    // the file's last words.
    std::string steps() const {
        std::string text;
        for (const std::string& line : outcome.trace) {
            if (line.starts_with("poll keyboard")) text += " spin";
            if (line.starts_with("dongle_recv")) text += " recv";
            if (line.starts_with("ambe_send(packet, ")) {
                text += " send " + std::to_string(std::stoi(line.substr(18, 2), nullptr, 16));
            }
        }
        for (const char* words : {"DONE", "STOPPED", "TIMEOUT"}) {
            if (printed().find(std::string(words) + "\\n") != std::string::npos) text += std::string(" ") + words;
        }
        return text.substr(1);
    }
};

// Of a raw recording of nine frames. A walk with no more answers than given ends with a failed receive, a "recv" more.
void expect_steps(const std::string& steps, const std::vector<Answer>& answers, const std::vector<Poll>& polls = {}) {
    EXPECT_EQ(PumpRun(raw_walk(9, answers, polls)).steps(), steps);
}

// The frame that is twelve times that byte.
std::string frame_text(int byte) {
    return hex(Bytes(ambe_frame_bytes, static_cast<std::uint8_t>(byte)));
}

Lines between(const Lines& trace, const std::string& first, const std::string& last) {
    const auto from = std::find(trace.begin(), trace.end(), first);
    const auto to = std::find(from, trace.end(), last);
    return to == trace.end() ? Lines{"not found"} : Lines(from, to + 1);
}

bool holds(const Lines& trace, const std::string& line) {
    return std::find(trace.begin(), trace.end(), line) != trace.end();
}

}  // namespace

// --- every row of the table in every state

TEST(DecodePump, EveryRowWhereAFrameIsWanted) {  // the first receive of a file comes in this state
    expect_steps("spin recv", {failed});
    expect_steps("spin recv spin recv send 2 spin recv", {nothing, wants_frame});
    expect_steps("spin recv send 1 spin recv", {wants_frame});
    expect_steps("spin recv recv send 1 spin recv", {pcm_block, wants_frame});
    expect_steps("spin recv TIMEOUT", {timed_out});
    expect_steps("spin recv spin recv send 2 spin recv", {unknown, wants_frame});
}

TEST(DecodePump, EveryRowWhileAFrameWaits) {  // read after one was sent
    expect_steps("spin recv send 1 spin recv", {wants_frame, failed});
    expect_steps("spin recv send 1 spin recv recv recv send 2 spin recv", {wants_frame, nothing, nothing, wants_frame});
    expect_steps("spin recv send 1 spin recv send 2 spin recv", {wants_frame, wants_frame});
    expect_steps("spin recv send 1 spin recv recv recv send 2 spin recv",
                 {wants_frame, pcm_block, pcm_block, wants_frame});
    expect_steps("spin recv send 1 spin recv TIMEOUT", {wants_frame, timed_out});
    expect_steps("spin recv send 1 spin recv spin recv send 3 spin recv", {wants_frame, unknown, wants_frame});
}

TEST(DecodePump, NothingReceivedFirstReadsASecondFrameOverTheFirst) {
    expect_steps("spin recv spin recv send 2 spin recv", {nothing, wants_frame});
    expect_steps("spin recv spin recv recv send 2 spin recv", {nothing, nothing, wants_frame});  // the second waits
}

TEST(DecodePump, UnknownPacketDropsTheFrameThatWaits) {
    expect_steps("spin recv send 1 spin recv spin recv spin recv send 4 spin recv",
                 {wants_frame, unknown, unknown, wants_frame});
}

TEST(DecodePump, FrameWaitsAlsoAfterABlockSeveralFramesOrAnUnknownPacket) {
    expect_steps("spin recv recv recv send 1 spin recv", {pcm_block, nothing, wants_frame});
    expect_steps("spin recv recv TIMEOUT", {pcm_block, timed_out});
    expect_steps("spin recv send 1 spin recv send 2 spin recv recv send 3 spin recv",
                 {wants_frame, wants_frame, nothing, wants_frame});
    expect_steps("spin recv send 1 spin recv spin recv recv send 3 spin recv",
                 {wants_frame, unknown, nothing, wants_frame});
    expect_steps("spin recv send 1 spin recv spin recv TIMEOUT", {wants_frame, unknown, timed_out});
}

TEST(DecodePump, FailureEndsInSilence) {
    const PumpRun run(raw_walk(9, {failed}));
    EXPECT_EQ(run.printed(), "Converting file '" + run.input() + "' to '" + run.output() + "': |\\b");
}

// --- what counts as which packet

TEST(DecodePump, PacketOfTheRightLengthAndAnotherTypeOrAnotherLengthIsUnknown) {
    std::vector<Answer> packets;
    for (const int length : {48, 320, 34}) {
        packets.push_back({.length = length, .keeps_type = true});
        for (const int type : {0, 1, 2, 4, 5, 6, -5, 260}) packets.push_back({.length = length, .type = type});
    }
    std::erase_if(packets, [](const Answer& packet) {
        const auto is = [&packet](const Answer& known) {
            return !packet.keeps_type && packet.length == known.length && packet.type == known.type;
        };
        return is(wants_frame) || is(pcm_block) || is(timed_out);
    });
    ASSERT_EQ(packets.size(), 3U * 9 - 3);
    for (const int length : {47, 49, 319, 321, 33, 35, 400, 401, 65536 + 48, 2147483647}) {
        for (const int type : {1, 4, 5}) packets.push_back({.length = length, .type = type});
    }
    for (const Answer& packet : packets) {
        SCOPED_TRACE(testing::Message() << packet.length << ", " << packet.type);
        expect_steps("spin recv spin recv send 2 spin recv", {packet, wants_frame});
        expect_steps("spin recv send 1 spin recv spin recv send 3 spin recv", {wants_frame, packet, wants_frame});
    }
}

TEST(DecodePump, EveryOtherLengthUpTo401IsUnknown) {
    std::vector<Answer> answers;
    std::string expected;
    for (int length = 1; length <= 401; length++) {
        for (const int type : {1, 4, 5}) {
            if ((length == 48 && type == 5) || (length == 320 && type == 4) || (length == 34 && type == 1)) continue;
            answers.push_back({.length = length, .type = type});
            expected += "spin recv ";
        }
    }
    EXPECT_EQ(PumpRun(raw_walk(static_cast<int>(answers.size()) + 1, answers)).steps(), expected + "spin recv");
}

TEST(DecodePump, TypeCountsForNothingWhenNothingOrAFailureIsReceived) {
    for (const int type : {0, 1, 4, 5}) {
        const Answer nothing_of_type = {.length = 0, .type = type};
        expect_steps("spin recv spin recv", {nothing_of_type});
        for (const int length : {-1, -34, -48, -320, -400, -2147483647 - 1}) {
            const Answer failed_of_type = {.length = length, .type = type};
            expect_steps("spin recv", {failed_of_type});
        }
    }
}

TEST(DecodePump, TypeIsPresetTo0AndTheCapacityIs400AtEveryReceive) {
    const PumpRun run(raw_walk(9, {wants_frame, pcm_block, unknown, nothing, timed_out}));
    EXPECT_EQ(run.count("dongle_recv("), 5);
    EXPECT_EQ(run.count("dongle_recv(0, 400) = "), 5);
}

TEST(DecodePump, VocoderThatOnlySendsBlocksGetsNoFurtherFrame) {
    std::vector<Answer> answers = {wants_frame};
    answers.insert(answers.end(), 1000, pcm_block);
    answers.push_back(wants_frame);
    std::string blocks;
    for (int i = 0; i < 1000; i++) blocks += "recv ";
    expect_steps("spin recv send 1 spin " + blocks + "recv send 2 spin recv", answers);
}

TEST(DecodePump, EndOfTheRecordingEndsTheFile) {
    const PumpRun run(raw_walk(2, {wants_frame, wants_frame, wants_frame}));
    EXPECT_EQ(run.steps(), "spin recv send 1 spin recv send 2 spin DONE");
    EXPECT_EQ(run.outcome.results, std::vector<int>{0});
}

// --- keys

TEST(DecodePump, SpaceStopsAtTheNextSpinAndIsNotPolledBetweenBlocks) {
    expect_steps("spin recv send 1 spin STOPPED", {wants_frame, wants_frame}, {no_key, key(' ')});
    expect_steps("spin STOPPED", {}, {key(' ')});
    expect_steps("spin recv recv recv recv send 1 spin STOPPED", {pcm_block, pcm_block, pcm_block, wants_frame},
                 {no_key, key(' ')});
}

TEST(DecodePump, EveryOtherKeyIsDropped) {
    std::vector<Poll> polls;
    for (int value = 0; value < 256; value++) {
        if (value != ' ') polls.push_back(key(value));
    }
    const PumpRun run(raw_walk(300, std::vector<Answer>(299, wants_frame), polls));
    EXPECT_EQ(run.count("read 1 key"), 255);
    EXPECT_EQ(run.count("dongle_send"), 299);
    EXPECT_EQ(run.printed().find("STOPPED"), std::string::npos);
}

TEST(DecodePump, EndOfInputAndAKeyboardThatFailsLetTheRunGoOn) {
    const Poll failed_poll = {.result = -1, .key = ' '};
    for (const Poll& poll : {key(end_of_input), key(failed_read), failed_poll})
        expect_steps("spin recv send 1 spin recv", {wants_frame}, {poll, poll});
}

TEST(DecodePump, OneKeyIsReadATurnAndOnlyWhenOneWaits) {
    const PumpRun run(raw_walk(9, {wants_frame, wants_frame}, {key('a'), no_key, key('b')}));
    EXPECT_EQ(run.count("poll keyboard"), 3);
    EXPECT_EQ(run.count("read 1 key"), 2);
}

// --- start and teardown

TEST(DecodePump, ConversionStartsAndEndsInThisOrder) {
    const PumpRun run(raw_walk(9, {wants_frame, timed_out}));
    EXPECT_EQ(run.outcome.trace, (run.opening() +
                                  Lines{
                                      "fopen(" + run.output() + ", wb)",
                                      "fclose(" + run.output() + ")",
                                      "fopen(" + run.output() + ", rb+)",
                                      "ambe_init(packet, 1)",
                                      "dongle_run(1)",
                                      "tcgetattr",
                                      "tcsetattr raw",
                                      "stdout: Converting file '" + run.input() + "' to '" + run.output() + "': |\\b",
                                      "poll keyboard = 0",
                                      "dongle_recv(0, 400) = 48, 5",
                                      "ambe_send(packet, " + frame_text(1) + ")",
                                      "dongle_send(5, packet " + frame_text(1) + ", 48)",
                                      "stdout: /\\b",
                                      "poll keyboard = 0",
                                      "dongle_recv(0, 400) = 34, 1",
                                  } +
                                  run.teardown() + Lines{"stdout: TIMEOUT\\n"}));
    EXPECT_EQ(run.outcome.results, std::vector<int>{0});
}

TEST(DecodePump, PlayingStartsAndEndsInThisOrder) {
    Walk walk = raw_walk(9, {failed});
    walk.convert = false;
    const PumpRun run(walk);
    EXPECT_EQ(run.outcome.trace, (run.opening() + Lines{
                                                      "audio_start(pull_block, none)",
                                                      "ambe_init(packet, 1)",
                                                      "dongle_run(1)",
                                                      "tcgetattr",
                                                      "tcsetattr raw",
                                                      "stdout: Playing file '" + run.input() + "': |\\b",
                                                      "poll keyboard = 0",
                                                      "dongle_recv(0, 400) = -1, 0",
                                                      "tcsetattr as found",
                                                      "stderr: > Stopping Dongle.\\n",
                                                      "dongle_run(0)",
                                                      "stderr: > Dongle stopped.\\n> Stopping Audio.\\n",
                                                      "audio_stop",
                                                      "stderr: > Audio stopped.\\n> Closing DVX.\\n",
                                                      "fclose(" + run.input() + ")",
                                                      "stderr: > DVX closed.\\n",
                                                  }));
    EXPECT_EQ(run.outcome.results, std::vector<int>{0});
}

TEST(DecodePump, EveryEndIsTornDownAlike) {
    const Walk ends[] = {raw_walk(9, {failed}), raw_walk(9, {timed_out}), raw_walk(0, {}), raw_walk(1, {wants_frame}),
                         raw_walk(9, {}, {key(' ')})};
    for (Walk walk : ends) {
        if (walk.recordings[0].content.empty()) walk.recordings[0].content = Bytes(10, 1);  // no frame, not short
        const PumpRun run(walk);
        EXPECT_EQ(between(run.outcome.trace, "tcsetattr as found", "stderr: > DVX closed.\\n"), run.teardown());
        EXPECT_EQ(run.outcome.results, std::vector<int>{0});
    }
}

TEST(DecodePump, RecordingThatCannotBeReadIsNeitherConvertedNorSentAnywhere) {
    Walk walk;
    walk.recordings = {{.kind = RecordingFile::Kind::missing}, {.content = Bytes(9, 1)}};
    const PumpRun run(walk);
    EXPECT_EQ(run.outcome.trace, (Lines{
                                     "fopen(" + run.input(0) + ", rb) failed",
                                     "stdout: Converting file '" + run.input(0) + "': NOT FOUND\\n",
                                     "fopen(" + run.input(1) + ", rb)",
                                     "fclose(" + run.input(1) + ")",
                                     "stdout: Converting file '" + run.input(1) + "': SHORT FILE\\n",
                                 }));
    EXPECT_EQ(run.outcome.results, (std::vector<int>{-1, -1}));
    EXPECT_EQ(run.outcome.wave_files, (std::vector<Bytes>{{}, {}}));
}

TEST(DecodePump, OutputThatCannotBeCreatedStartsNoVocoderAndTouchesNoConsole) {
    Walk walk = raw_walk(9, {});
    walk.recordings[0].kind = RecordingFile::Kind::output_in_the_way;
    const PumpRun run(walk);
    EXPECT_EQ(run.outcome.trace, (run.opening() + Lines{
                                                      "fopen(" + run.output() + ", wb) failed",
                                                      "fopen(" + run.output() + ", rb+) failed",
                                                      "stderr: Unable to create file '" + run.output() + "' !\\n",
                                                      "fclose(" + run.input() + ")",
                                                      "stdout: Converting file '" + run.input() + "' to '" +
                                                          run.output() + "': CANNOT CREATE\\n",
                                                  }));
    EXPECT_EQ(run.outcome.results, std::vector<int>{-1});
}

TEST(DecodePump, OutputWhoseFormatCannotBeWrittenIsClosedAndSaid) {
    for (int room = 12; room < 36; room += 4) {  // the outer header fits, the "fmt " chunk does not
        Walk walk = raw_walk(9, {});
        walk.output_room = room;
        const PumpRun run(walk);
        const Lines& trace = run.outcome.trace;
        EXPECT_EQ(run.printed(),
                  "Converting file '" + run.input() + "' to '" + run.output() + "': I/O ERR: CANNOT CREATE\\n");
        ASSERT_GE(trace.size(), 3u);
        EXPECT_EQ(trace[trace.size() - 3], "fclose(" + run.output() + ")") << room;
        EXPECT_EQ(trace[trace.size() - 2], "fclose(" + run.input() + ")") << room;
        EXPECT_EQ(run.count("ambe_init") + run.count("dongle_run"), 0) << room;
        EXPECT_EQ(run.count("tcgetattr"), 0) << room;
        EXPECT_EQ(run.outcome.results, std::vector<int>{-1});
    }
}

TEST(DecodePump, OutputWhoseOuterHeaderCannotBeWrittenIsNotCreated) {
    for (int room = 0; room < 12; room += 4) {
        Walk walk = raw_walk(9, {});
        walk.output_room = room;
        const PumpRun run(walk);
        EXPECT_EQ(run.printed(), "Converting file '" + run.input() + "' to '" + run.output() + "': CANNOT CREATE\\n");
        EXPECT_EQ(run.count("ambe_init"), 0) << room;
        EXPECT_EQ(run.outcome.results, std::vector<int>{-1});
    }
}

TEST(DecodePump, DiskThatFillsUpAfterTheFormatIsNotLookedAt) {
    Walk walk = raw_walk(9, {wants_frame, pcm_block, pcm_block, pcm_block, pcm_block, wants_frame, timed_out});
    walk.output_room = 36;
    EXPECT_EQ(PumpRun(walk).steps(), "spin recv send 1 spin recv recv recv recv recv send 2 spin recv TIMEOUT");
}

TEST(DecodePump, RawRecordingThatCannotBeOpenedAgainIsDone) {
    Walk walk = raw_walk(9, {});
    walk.failing_fopen = 2;
    const PumpRun run(walk);
    EXPECT_EQ(run.steps(), "spin DONE");
    EXPECT_EQ(run.count("fclose(" + run.input() + ")"), 1) << "there is no second one";
    EXPECT_EQ(run.outcome.results, std::vector<int>{0});
}

TEST(DecodePump, OutputThatCannotBeTruncatedIsWrittenAllTheSame) {
    Walk walk = raw_walk(9, {failed});
    walk.failing_fopen = 3;  // of mode "wb"; the name has no file then, so another is put in its place
    walk.output_room = 1000;
    const PumpRun run(walk);
    EXPECT_TRUE(holds(run.outcome.trace, "fopen(" + run.output() + ", wb) failed"));
    EXPECT_EQ(run.steps(), "spin recv");
    EXPECT_EQ(run.outcome.results, std::vector<int>{0});
}

TEST(DecodePump, AudioThatCannotStartLeavesTheRecordingOpen) {
    Walk walk = raw_walk(9, {});
    walk.convert = false;
    walk.audio_start_result = -1;
    const PumpRun run(walk);
    EXPECT_EQ(run.outcome.trace, (run.opening() + Lines{
                                                      "audio_start(pull_block, none)",
                                                      "stdout: Playing file '" + run.input() + "': ERROR\\n",
                                                  }));
    EXPECT_EQ(run.outcome.results, std::vector<int>{-1});
}

// --- spinner

TEST(DecodePump, SpinnerTurnsAndFlushesAtEverySpin) {
    const PumpRun run(raw_walk(9, {wants_frame, wants_frame, wants_frame, wants_frame, failed}));
    const Lines written = run.behind("stdout: ");
    ASSERT_EQ(written.size(), 5u);
    EXPECT_EQ(Lines(written.begin() + 1, written.end()), (Lines{"/\\b", "-\\b", "\\\\b", "|\\b"}));
}

TEST(DecodePump, SpinnerStartsAnewWithEachFile) {
    Walk walk = raw_walk(9, {wants_frame, unknown, failed, failed});
    walk.recordings.push_back(walk.recordings[0]);
    const std::string printed = PumpRun(walk).printed();
    EXPECT_NE(printed.find("0.wav': |\\b/\\b-\\bConverting"), std::string::npos) << printed;
    EXPECT_NE(printed.find("1.wav': |\\b"), std::string::npos) << printed;
}

// --- frames and blocks

TEST(DecodePump, FrameIsReversedJustBeforeItIsSent) {
    Walk walk = raw_walk(0, {wants_frame, wants_frame});
    walk.recordings[0].content = bytes({0x01, 0x0F, 0xA0, 0x80, 0xF0, 0x05, 0xFF, 0x00, 0x12, 0x34, 0x56, 0x78,
                                        0x02, 0x02, 0x02, 0x02, 0x02, 0x02, 0x02, 0x02, 0x02, 0x02, 0x02, 0x02});
    walk.reverse_bits = true;
    const Lines trace = PumpRun(walk).outcome.trace;
    EXPECT_TRUE(holds(trace, "dongle_send(5, packet 80f005010fa0ff00482c6a1e, 48)"));
    EXPECT_TRUE(holds(trace, "dongle_send(5, packet 404040404040404040404040, 48)"));
}

TEST(DecodePump, StaleBytesAreReversedAgainWhenTheyAreSentAgain) {
    // A record with frame 01 01 ... and two empty ones.
    Bytes content = bytes({'D', 'V', 'T', 'O', 'O', 'L', 0, 0, 0, 0, 0, 0, 27, 0});
    content.insert(content.end(), 27, 1);
    content.insert(content.end(), 4, 0);
    Walk walk = raw_walk(0, {wants_frame, wants_frame, wants_frame, failed});
    walk.recordings[0].content = content;
    walk.reverse_bits = true;
    EXPECT_EQ(PumpRun(walk).behind("ambe_send(packet, "),
              (Lines{frame_text(0x80) + ")", frame_text(0x01) + ")", frame_text(0x80) + ")"}));
}

TEST(DecodePump, BlocksReachTheWaveFileOnceTheByteAfterAStreamBlockComes) {
    std::vector<Answer> answers(7, pcm_block);
    for (std::size_t i = 0; i < answers.size(); i++) answers[i].seed = static_cast<std::uint8_t>(i * 40);
    Bytes data;
    for (const Answer& answer : answers) {
        const Bytes packet = packet_bytes(answer.seed);
        data.insert(data.end(), packet.begin(), packet.begin() + pcm_block_bytes);
    }
    for (std::size_t blocks = 1; blocks <= answers.size(); blocks++) {
        const PumpRun run(raw_walk(9, {answers.begin(), answers.begin() + static_cast<std::ptrdiff_t>(blocks)}));
        const std::size_t whole = (320 * blocks - 1) / 1024 * 1024;
        const Bytes& wave = run.outcome.wave_files[0];
        ASSERT_EQ(wave.size(), whole == 0 ? 36 : 44 + whole) << blocks;
        EXPECT_TRUE(
            std::equal(wave.begin() + std::min<std::ptrdiff_t>(44, std::ssize(wave)), wave.end(), data.begin()));
    }
}

TEST(DecodePump, WhatOneFileLeavesInTheStreamGoesOutWithTheNext) {
    Walk walk = raw_walk(9, {
                                {.length = 320, .type = 4, .seed = 1},
                                failed,
                                {.length = 320, .type = 4, .seed = 2},
                                pcm_block,
                                pcm_block,
                                failed
    });
    walk.recordings.push_back(walk.recordings[0]);
    const PumpRun run(walk);
    EXPECT_EQ(run.outcome.wave_files[0].size(), 36u);
    const Bytes& second = run.outcome.wave_files[1];
    ASSERT_EQ(second.size(), 44u + 1024u);
    EXPECT_TRUE(std::equal(second.begin() + 44, second.begin() + 364, packet_bytes(1).begin()));
    EXPECT_TRUE(std::equal(second.begin() + 364, second.begin() + 684, packet_bytes(2).begin()));
}

TEST(DecodePump, PlayedBlockIsPulledOnceThenSilenceAndANewerOneReplacesIt) {
    const auto pull = [](Answer answer, int pulls, std::uint8_t seed) {
        answer.pulls = pulls;
        answer.seed = seed;
        return answer;
    };
    Walk walk = raw_walk(9, {pull(pcm_block, 1, 1), pull(pcm_block, 0, 2), pull(nothing, 2, 0), pull(failed, 1, 0)});
    walk.convert = false;
    const Bytes second = packet_bytes(2);
    EXPECT_EQ(PumpRun(walk).behind("pulled 320: "),
              (Lines{"silence", block_text(second.data()), "silence", "silence"}));
}

TEST(DecodePump, NextFileStartsAfterOneThatFailed) {
    Walk walk;
    walk.recordings = {{.kind = RecordingFile::Kind::missing}, {.content = raw_frames(2)}};
    walk.answers = {wants_frame};
    const PumpRun run(walk);
    EXPECT_EQ(run.outcome.results, (std::vector<int>{-1, 0}));
    EXPECT_EQ(run.steps(), "spin recv send 1 spin recv");
}
