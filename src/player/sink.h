// SPDX-License-Identifier: MIT
// Where decoded blocks go: one row of operations to convert, one to play.
#pragma once

#include <cstdint>
#include <span>

#include "link/dongle.h"
#include "player/player.h"

// What one AMBE frame decodes to, in somebody's buffer: 160 samples of 16-bit signed little-endian linear PCM, mono,
// 8000 Hz.
using PcmBlock = std::span<const std::uint8_t, pcm_block_bytes>;

struct Sink {
    const char* verb;              // "Convert" or "Play", which begin "Converting file", "Playing file"
    bool closes_input_on_failure;  // whether the recording is closed when start fails
    int (*start)(Player& player, const char* path);  // `path` is the recording's. 0, or -1 after its message
    void (*write)(Player& player, PcmBlock block);
    void (*stop)(Player& player);  // prints each of its steps on standard error
};

extern const Sink convert_sink;  // encodes into a WAVE file beside the recording, which it owns from start to stop
extern const Sink play_sink;     // keeps the newest block for the audio layer to pull

// The path with everything from its last "." on replaced by ".wav". Kept: the directory part counts ("dir.v/rec" gives
// "dir.wav"), and a path without a "." stays as it is, so that such a recording is converted onto itself.
// The caller frees it; null when memory ran out.
char* output_name(const char* path);

// The pull callback of the audio layer: puts the waiting block into `output`, once, and silence when none waits. The
// context is not used. Always returns 320.
int pull_block(void* context, std::uint8_t* output);
