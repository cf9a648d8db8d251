// SPDX-License-Identifier: MIT
// What the user asked for: two environment variables, then the options, which override them.
#pragma once

#include <cstdint>

#include "codec/codec_table.h"

struct Settings {
    std::uint32_t format_tag = linear_pcm_tag;  // WAVE format tag of the files to write
    bool write_mode = false;                    // convert to WAVE files instead of playing
    int reverse_bits = 0;                       // 1 reverses the bits of each frame byte
    int debug_level = 0;                        // handed to the vocoder library
    int verbose_level = 0;                      // how often -v was given; the audio layer looks only whether it was
    char port[16] = "/dev/ttyUSB0";
    int speed = 230400;     // of the line, bit/s
    int sound_device = -1;  // -1 lets the audio layer choose
};

// Prints the usage line on standard error and ends the program with status 1.
[[noreturn]] void usage();

// Takes SOUNDCARD and DONGLE where they are set, the empty text included. A port is cut to 15 characters; text that is
// no number is 0.
void settings_read_environment(Settings& settings);

// Takes the options in the order in which they stand; operands may stand between them, as GNU getopt sorts them.
// Returns the index of the first operand in the reordered `argv`, argc when there is none. A bad option, -D after -W
// and -F before -W end in usage(). An unknown -F name prints its message and changes nothing.
int settings_read_options(Settings& settings, int argc, char** argv);
