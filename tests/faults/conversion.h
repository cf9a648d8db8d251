// SPDX-License-Identifier: MIT
// Whole runs of the program, each in a process of its own, with one fault: main from its first line to its last, the
// line and the keyboard on pseudo-terminals, and what is left when it has ended.
#pragma once

#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <vector>

#include "faults/faults.h"
#include "support/temp_dir.h"

// "rec.ambe" with the frames 1, 2 and 3, and "b.dvtool" with 4 and 5. There is also "long.ambe" with all five.
extern const std::vector<std::string> both_recordings;

enum class Mode { convert, play };

// Of a test that runs in both.
inline std::string mode_name(const testing::TestParamInfo<Mode>& mode) {
    return mode.param == Mode::convert ? "Convert" : "Play";
}

struct Conversion {
    Mode mode = Mode::convert;
    std::string format = "pcm";
    std::vector<std::string> recordings = both_recordings;
    char key = 'x';  // pressed when the vocoder hears its first frame
    Fault fault = {};
    std::optional<std::size_t> file_limit = {};  // bytes that a file may have
    std::string first_wave_device = {};          // a device that the first recording's WAVE file is a link to
    Bytes first_wave_before = {};                // that file as it is beforehand, when not empty
    bool console_full = false;                   // standard output and error take nothing
};

struct RunResult {
    int status = -1;  // exit status; -1 when a signal ended the process
    int signal = 0;
    std::string out;
    std::string err;
    Report report = {};
    std::optional<Bytes> first_wave;  // of the first recording, if it is there
    std::optional<Bytes> second_wave;
    bool line_put_back = false;
    bool keyboard_put_back = false;
};

RunResult run(const Conversion& conversion);
