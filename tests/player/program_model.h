// SPDX-License-Identifier: MIT
// The whole program in one process, from its arguments to its exit status, beside a model of it.
//
// The program is main() itself with the stand-ins of the pump's tests around it; the model is that of the pump with the
// start-up written down a second time in front.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "player/walk.h"

// One word of the command line. Recordings and options stand in any order.
struct Argument {
    enum class Kind {
        recording,  // number: its index
        debug,
        verbose,
        reverse,
        write,
        device,  // number
        format,  // number: an index into coded_formats
        unknown_format,
        port,   // text
        speed,  // number
        unknown_option,
    };
    Kind kind = Kind::recording;
    int number = 0;
    std::string text = {};
};

// In `walk` the flags and the format are not used: the arguments say them.
struct ProgramRun {
    std::optional<std::string> soundcard = {};  // of the environment; a number, no other text
    std::optional<std::string> dongle = {};
    std::vector<Argument> arguments = {};
    int detected_device = 0;
    bool has_audio_control = true;
    int audio_open_result = 0;
    int dongle_init_result = 0;
    Walk walk = {};
};

struct ProgramOutcome {
    int status = 0;
    std::vector<std::string> trace = {};
    std::vector<Bytes> wave_files = {};  // one a recording; empty when there is none
    std::size_t answers_given = 0;

    bool operator==(const ProgramOutcome& other) const {
        return status == other.status && trace == other.trace && wave_files == other.wave_files;
    }
};

ProgramOutcome run_program_in_process(const ProgramRun& run, const std::string& directory);
ProgramOutcome model_program(const ProgramRun& run, const std::string& directory);

// The first line in which the two traces differ, with what went before; which of the other results differ.
std::string difference_of(const ProgramOutcome& program, const ProgramOutcome& model);
