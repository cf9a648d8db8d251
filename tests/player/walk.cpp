// SPDX-License-Identifier: MIT
#include "player/walk.h"

#include <stdio.h>

#include <algorithm>
#include <filesystem>

#include "link/dongle.h"
#include "player/coder_model.h"
#include "player/decode_pump.h"
#include "player/player.h"
#include "player/sink.h"

std::string difference_of(const WalkOutcome& program, const WalkOutcome& model) {
    const auto [in_program, in_model] =
        std::mismatch(program.trace.begin(), program.trace.end(), model.trace.begin(), model.trace.end());
    std::string text;
    for (auto line = program.trace.begin(); line != in_program; ++line) text += "  " + *line + "\n";
    if (in_program != program.trace.end()) text += "program then: " + *in_program + "\n";
    if (in_model != model.trace.end()) text += "model then:   " + *in_model + "\n";
    if (program.results != model.results) text += "the results or the exit statuses differ\n";
    if (program.wave_files != model.wave_files) text += "the WAVE files differ\n";
    return text;
}

void lay_out(const Walk& walk, const std::string& directory) {
    std::filesystem::remove_all(directory);
    std::filesystem::create_directory(directory);
    for (std::size_t i = 0; i < walk.recordings.size(); i++) {
        const RecordingFile& recording = walk.recordings[i];
        if (recording.kind == RecordingFile::Kind::missing) continue;
        write_file(recording_path(directory, i), recording.content);
        if (recording.kind == RecordingFile::Kind::output_in_the_way) {
            std::filesystem::create_directory(wave_path(directory, i));
        }
    }
}

void drain_block() {
    std::uint8_t block[pcm_block_bytes];
    pull_block(nullptr, block);
}

std::vector<Bytes> read_wave_files(const Walk& walk, const std::string& directory) {
    std::vector<Bytes> files;
    for (std::size_t i = 0; i < walk.recordings.size(); i++) {
        const std::string path = wave_path(directory, i);
        files.push_back(std::filesystem::is_regular_file(path) ? read_file(path) : Bytes{});
    }
    return files;
}

std::string recording_path(const std::string& directory, std::size_t index) {
    return directory + "/" + std::to_string(index) + ".ambe";
}

std::string wave_path(const std::string& directory, std::size_t index) {
    return directory + "/" + std::to_string(index) + ".wav";
}

WalkOutcome walk_pump(const Walk& walk, const std::string& directory) {
    lay_out(walk, directory);
    drain_block();
    WalkOutcome outcome;
    AudioControl control = {};
    Player player;
    player.audio = &control;
    player.settings.write_mode = walk.convert;
    player.settings.reverse_bits = walk.reverse_bits ? 1 : 0;
    player.settings.format_tag = walk.format_tag;
    {
        const TracedRun run({.answers = walk.answers,
                             .polls = walk.polls,
                             .audio_control = &control,
                             .audio_start_result = walk.audio_start_result,
                             .failing_fopen = walk.failing_fopen,
                             .output_room = walk.output_room});
        player_start_codec(player);
        fflush(stdout);
        surroundings().trace.clear();
        for (std::size_t i = 0; i < walk.recordings.size(); i++) {
            outcome.results.push_back(decode_file(player, recording_path(directory, i).c_str()));
            fflush(stdout);
        }
        outcome.trace = surroundings().trace;
        outcome.answers_given = surroundings().answers_given;
    }
    StreamRelease()(player.stream);
    outcome.wave_files = read_wave_files(walk, directory);
    return outcome;
}

Bytes raw_frames(int count) {
    Bytes content;
    for (int i = 1; i <= count; i++) content.insert(content.end(), ambe_frame_bytes, static_cast<std::uint8_t>(i));
    return content;
}

Walk raw_walk(int frames, const std::vector<Answer>& answers, const std::vector<Poll>& polls) {
    Walk walk;
    walk.recordings.push_back({.content = raw_frames(frames)});
    walk.answers = answers;
    walk.polls = polls;
    return walk;
}
