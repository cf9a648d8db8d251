// SPDX-License-Identifier: MIT
// What the program keeps from start to end, and how its parts are started.
#pragma once

#include <cstdint>

#include "audio/audio.h"
#include "codec/codec_stream.h"
#include "link/dongle.h"
#include "player/settings.h"
#include "riff/riff_file.h"

struct Player {
    Settings settings;
    PcmFormat input_format = {.channels = 1, .bits_per_sample = 16, .sample_rate = 8000};
    CodecStream* stream = nullptr;  // one for all files, never released
    AudioControl* audio = nullptr;  // play mode only
    RiffFile* riff = nullptr;       // convert mode, while a file runs
    int spinner = 0;                // 0 to 3
    std::uint8_t packet[ambe_packet_bytes] = {};
};

// Opens /dev/null on each of the descriptors 0, 1 and 2 that the program was started without, so that no recording and
// no WAVE file is taken for the console.
void open_missing_standard_streams();

// Two lines on standard output: title and version, then whose program it is.
void print_banner();

// Creates the codec stream for the chosen format, in encode use. Returns 0, or -1 with a message on standard error.
int player_start_codec(Player& player);

// Chooses, formats and opens the audio device and prints its name. Returns 0; -1 when it cannot be had.
int player_start_audio(Player& player);

// Starts the vocoder library at the chosen port and speed. Returns 0; -1 when it cannot be had, with no message.
int player_start_vocoder(Player& player);
