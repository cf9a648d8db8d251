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

WalkOutcome run_program_in_process(const ProgramRun& run, const std::string& directory);
WalkOutcome model_program(const ProgramRun& run, const std::string& directory);
