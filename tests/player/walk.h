// SPDX-License-Identifier: MIT
// A run of the pump over some recordings, with everything that happens to it, and what came of it.
#pragma once

#include <string>
#include <vector>

#include "player/surroundings.h"

struct RecordingFile {
    enum class Kind { there, missing, output_in_the_way };  // the last: its WAVE file's name is that of a directory
    Kind kind = Kind::there;
    Bytes content = {};
};

struct Walk {
    bool convert = true;
    bool reverse_bits = false;
    std::uint32_t format_tag = 1;
    int audio_start_result = 0;
    int failing_fopen = 0;             // as in Surroundings
    int output_room = unlimited_room;  // as in Surroundings
    std::vector<RecordingFile> recordings;
    std::vector<Answer> answers;  // of all the files, one after the other
    std::vector<Poll> polls;
};

struct WalkOutcome {
    std::vector<std::string> trace;
    std::vector<int> results;       // of decode_file, one a recording; of a whole program, its exit status
    std::vector<Bytes> wave_files;  // one a recording; empty when there is none
    std::size_t answers_given = 0;

    bool operator==(const WalkOutcome& other) const {
        return trace == other.trace && results == other.results && wave_files == other.wave_files;
    }
};

// The first line in which the two traces differ, with what went before; which of the other results differ.
std::string difference_of(const WalkOutcome& program, const WalkOutcome& model);

// The names of recording `index` (from 0) and of what it is converted to.
std::string recording_path(const std::string& directory, std::size_t index);
std::string wave_path(const std::string& directory, std::size_t index);

// Makes `directory` anew, with the recordings in it.
void lay_out(const Walk& walk, const std::string& directory);

// What the WAVE files hold; empty where there is none.
std::vector<Bytes> read_wave_files(const Walk& walk, const std::string& directory);

// Nothing of an earlier run is left for the audio layer to pull.
void drain_block();

// Through decode_file. `directory` is made anew; the model names its files alike.
WalkOutcome walk_pump(const Walk& walk, const std::string& directory);

// A walk of one raw recording of `frames` frames: frame n is twelve bytes of value n, from 1.
Walk raw_walk(int frames, const std::vector<Answer>& answers, const std::vector<Poll>& polls = {});
Bytes raw_frames(int count);
