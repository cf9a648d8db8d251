// SPDX-License-Identifier: MIT
// One run of quaver against the scripted stand-in for the vocoder library, in a directory of its own.
#pragma once

#include <string>
#include <utility>
#include <vector>

#include "support/messages.h"
#include "support/recordings.h"
#include "support/run_program.h"
#include "support/temp_dir.h"

using Lines = std::vector<std::string>;

struct Outcome : ProgramResult {
    Lines calls;  // of the vocoder library, in order, as the stand-in logs them
};

// Asks for frames until there are none.
extern const std::string takes_all_frames;

struct Scenario {
    Scenario() = default;
    explicit Scenario(const Lines& command_line, const std::string& played = takes_all_frames);

    TempDir dir;  // where the program runs: files are named as in "rec.ambe"
    Lines arguments;
    std::vector<std::pair<std::string, std::string>> environment;
    std::string script;  // see stand_ins/scripted_dongle.cpp
    Bytes blocks;        // what the vocoder's blocks hold, one after the other
    ProgramInput input;
    std::string output_path;
    bool output_closed = false;
    bool error_closed = false;
    std::vector<int> ignored_signals;
    std::string dongle_directory = SCRIPTED_DONGLE_DIR;

    std::string operator/(const std::string& name) const { return dir / name; }
    void add_file(const std::string& name, const Bytes& content = {}) const { write_file(dir / name, content); }
    Bytes file(const std::string& name) const { return read_file(dir / name); }
    bool has_file(const std::string& name) const;

    // The call of the program; the script and the blocks are written for it.
    ProgramCall call() const;
    Lines calls() const;
    Outcome run() const;
};

extern const Lines play_mode;  // no options

// A scenario with the recording "rec.ambe" of three raw frames.
struct ThreeFrames : Scenario {
    explicit ThreeFrames(const Lines& options = {"-W"}, const std::string& played = takes_all_frames);
};

// What is printed in front of the spinner of "rec.ambe".
extern const std::string converting;
extern const std::string playing;

// The library calls around the files.
Lines start_calls(const std::string& port = "/dev/ttyUSB0", long speed = 230400, int debug = 0);
extern const Lines file_start_calls;  // ambe_init, dongle_run(1)
extern const Lines file_end_calls;    // dongle_run(0)
extern const Lines end_calls;         // dongle_close(0)
std::string received(int length, const std::string& type);
// The two calls that send a frame.
Lines sent(const Bytes& frame);
Lines operator+(Lines first, const Lines& second);
Lines operator+(Lines first, const std::string& second);

// The frames that were sent, in order.
std::vector<Bytes> frames_sent(const Lines& calls);
Lines calls_starting_with(const Lines& calls, const std::string& start);
