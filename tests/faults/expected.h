// SPDX-License-Identifier: MIT
// What a run must leave behind, put together from what becomes of each of its two recordings.
//
// With all packets a recording of n frames gives: a request, then for each frame but the last its four blocks and a
// request; the frame that the last request takes is followed by the end of the file.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "faults/conversion.h"
#include "support/messages.h"
#include "support/recordings.h"
#include "support/wave.h"

enum class Recording { first, second };

// Messages of the program.
inline const std::string no_peek = "PEEK: -1\n";
inline const std::string no_get_state = "KB: unable to get current state !\n";
inline const std::string no_set_state = "KB: unable to get set new state !\n";
inline const std::string no_restored_state = "KB: unable to restore state !\n";

// What becomes of one recording.
struct FileOutcome {
    std::string out;  // its line, the spinner's turns included
    std::string err;
    int packets = 0;                 // that the program received; their audio goes into the codec stream
    bool has_wave = true;            // in convert mode
    std::optional<Bytes> wave = {};  // in place of the proper file
};

struct Expected {
    int status = 0;
    std::string out;
    std::string err;
    std::optional<Bytes> first_wave;
    std::optional<Bytes> second_wave;
    bool line_put_back = true;
    bool keyboard_put_back = true;
};

constexpr int packets_of(Recording recording) {
    return recording == Recording::first ? 11 : 6;
}
// Whether the packet with that number, 0 being the first, is a request.
constexpr bool is_request(int packet) {
    return packet % 5 == 0;
}

// It ran, received `packets` packets and ended as its text says; `complaints` were made while it ran.
FileOutcome ran(Mode mode, Recording recording, int packets, const std::string& ending = "DONE\n",
                const std::string& complaints = "", int more_turns = 0);
// All of it.
FileOutcome ran_well(Mode mode, Recording recording);
// It did not start. `rest` ends its line, "Converting file 'rec.ambe'".
FileOutcome refused(Mode mode, Recording recording, const std::string& rest, const std::string& err = "");
FileOutcome with_wave(FileOutcome outcome, const Bytes& wave);
FileOutcome without_wave(FileOutcome outcome);

// A run of both recordings.
Expected run_of(Mode mode, const FileOutcome& first, const FileOutcome& second);
// The codec or the audio control could not be had.
Expected ended_at_start(const std::string& out, const std::string& err);
// The vocoder could not be had.
Expected ended_without_vocoder(Mode mode);

// The pieces of 1024 bytes that the codec stream hands on: 2 in the first recording, 1 in the second.
Bytes piece(int number);  // 1 to 3

// Runs, compares with what is expected, and looks for what was not given back.
void expect_run(const Conversion& conversion, const Expected& expected);
