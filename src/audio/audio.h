// SPDX-License-Identifier: MIT
// The audio device layer of play mode.
#pragma once

#include <cstdint>

// Fills 320 bytes with the next block and returns 320.
using AudioPullCallback = int (*)(void* data, std::uint8_t* block);

struct AudioControl {
    std::uint8_t device;
    std::uint8_t attached;
    std::uint8_t second_flag;
    std::uint8_t* buffer;
    std::uint32_t count;
    AudioPullCallback callback;
    void* callback_data;
    char name[64];
};

int audio_detect(int report);
AudioControl* audio_alloc(int device);
int audio_format(AudioControl* control, int channels, long sample_rate, int bits_per_sample);
int audio_open(AudioControl* control, int mode);
int audio_start(AudioControl* control, AudioPullCallback callback, void* data);
int audio_stop(AudioControl* control);
int audio_attach(AudioControl* control, AudioPullCallback callback, void* data);
int audio_free(AudioControl* control);
