// SPDX-License-Identifier: MIT
// The audio device layer of play mode.
//
// One AudioControl a run: audio_detect gives a device number, audio_alloc a record for it, audio_free releases it.
// Device 0 is silent: its operations succeed and do nothing, so that play mode runs the whole decode path without a
// sound. Device 1 is ALSA's "default", device n from 2 on the sound card n - 2; a program built without sound has them
// as silent as device 0.
//
// Only audio_alloc can fail. A device that cannot be opened, or that is lost while it plays, goes on as a silent one.
#pragma once

#include <cstdint>

constexpr int audio_block_bytes = 320;

// Fills 320 bytes (160 samples, 16-bit signed little-endian, mono, 8000 Hz) with the newest block, or with silence when
// none is waiting. `data` is what was given along with the callback. Returns 320.
using AudioPullCallback = int (*)(void* data, std::uint8_t* block);

struct AudioControl {
    std::uint8_t device;         // the low byte of the device number
    std::uint8_t attached;       // 1 once audio_attach was called
    std::uint8_t second_flag;    // cleared by audio_attach
    std::uint8_t* buffer;        // what a device that is heard keeps; freed with the record. Null for device 0
    std::uint32_t count;         // 12: how many blocks of 20 ms the queue of a device that is heard holds
    AudioPullCallback callback;  // set by audio_attach, as is its data
    void* callback_data;
    char name[64];  // zero-filled
};

// The device number that the environment variable SOUNDCARD asks for, negative ones included. Without it, or when it is
// 0 or no number: 0, after "No audio devices detected.\n" on standard output when `report` is not 0.
int audio_detect(int report);

// A new record for the device, of whose number only the low byte is kept; the caller gives it to audio_free.
// Null after "MCI: out of memory for Audio control !\n" on standard error.
AudioControl* audio_alloc(int device);

// From a level of 1 on a device that falls silent is told about: one line, "MCI: ...", on standard error.
void audio_verbose(int level);

// Each returns 0. On device 0 none does anything, and the record stays as it is: audio_start does not keep the
// callback, so nothing ever calls it.
int audio_format(AudioControl* control, int channels, long sample_rate, int bits_per_sample);  // what is to be played
int audio_open(AudioControl* control, int mode);                                               // mode 1 is playback
int audio_start(AudioControl* control, AudioPullCallback callback, void* data);                // attaches them
int audio_stop(AudioControl* control);  // plays what is queued, 240 ms at most, then detaches

// Called once for each block that waits: pulls it through the callback and hands it to the device, then waits while the
// queue is full. So a device that is heard paces the program.
int audio_service(AudioControl* control);

// Keeps callback and data in the record and marks it attached. Returns 0.
int audio_attach(AudioControl* control, AudioPullCallback callback, void* data);

// Closes the device and frees the record, and its buffer when it has one. Returns 0.
int audio_free(AudioControl* control);
