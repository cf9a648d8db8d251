// SPDX-License-Identifier: MIT
// What start-up makes and every file shares, and how the program's parts are started.
#pragma once

#include "audio/audio.h"
#include "codec/codec_stream.h"
#include "player/settings.h"

struct Player {
    Settings settings;
    CodecStream* stream = nullptr;  // one for all files, never released
    AudioControl* audio = nullptr;  // play mode only
};

// Opens /dev/null on each of the descriptors 0, 1 and 2 that the program was started without, so that no recording and
// no WAVE file is taken for the console. Returns 0; -1, without a word, when one of them cannot be had.
int open_missing_standard_streams();

// Two lines on standard output: title and version, then whose program it is.
void print_banner();

// Creates the codec stream that encodes decoded blocks into the chosen format. Returns 0, or -1 with a message on
// standard error.
int player_start_codec(Player& player);

// Chooses, formats and opens the audio device and prints its name. Returns 0; -1, after audio_alloc's message, when
// there is no memory for it. A device that cannot be opened is no failure: it is silent.
int player_start_audio(Player& player);

// Starts the vocoder library at the chosen port and speed. Returns 0; -1 when it cannot be had, with no message.
int player_start_vocoder(Player& player);
