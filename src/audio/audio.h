// SPDX-License-Identifier: MIT
// The audio device layer of play mode.
//
// One AudioControl a run: audio_detect gives a device number, audio_alloc a record for it, audio_free releases it. On
// Linux the device operations are stubs that succeed and do nothing, so that play mode runs the whole decode path
// without a sound. Only audio_alloc can fail.
#pragma once

#include <cstdint>

// Fills 320 bytes (160 samples, 16-bit signed little-endian, mono, 8000 Hz) with the newest block, or with silence when
// none is waiting. `data` is what was given along with the callback. Returns 320.
using AudioPullCallback = int (*)(void* data, std::uint8_t* block);

struct AudioControl {
    std::uint8_t device;         // the low byte of the device number
    std::uint8_t attached;       // 1 once audio_attach was called
    std::uint8_t second_flag;    // cleared by audio_attach
    std::uint8_t* buffer;        // a device's own; freed with the record. Nothing sets it on Linux
    std::uint32_t count;         // 12; nothing reads it on Linux
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

// The stubs: each returns 0 and leaves the record as it is. audio_start does not keep the callback, so nothing ever
// calls it.
int audio_format(AudioControl* control, int channels, long sample_rate, int bits_per_sample);
int audio_open(AudioControl* control, int mode);  // mode 1 is playback
int audio_start(AudioControl* control, AudioPullCallback callback, void* data);
int audio_stop(AudioControl* control);

// Keeps callback and data in the record and marks it attached. Returns 0.
int audio_attach(AudioControl* control, AudioPullCallback callback, void* data);

// Frees the record, and its buffer when it has one. Returns 0.
int audio_free(AudioControl* control);
