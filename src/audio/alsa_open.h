// SPDX-License-Identifier: MIT
// A device of ALSA's library: what it is asked to be, and how it is opened and closed.
#pragma once

#include "audio/alsa_library.h"
#include "audio/device_trial.h"
#include "audio/quiet_streams.h"

// All zero when new. A null `pcm` is a device that is not heard, or not any more.
struct AlsaDevice {
    char name[sizeof "plughw:253"];
    int channels;
    long sample_rate;
    int bits_per_sample;
    snd_pcm_uframes_t block_frames;
    snd_pcm_uframes_t queue_frames;   // how many may be queued
    snd_pcm_uframes_t full_frames;    // with how many the program goes on; with more it waits
    snd_pcm_uframes_t buffer_frames;  // the device's own buffer, which may be larger or smaller
    bool verbose;
    const AlsaLibrary* alsa;
    bool alsa_called;  // `quiet` is open and ALSA may hold its configuration: both are to be given back
    snd_pcm_t* pcm;
    QuietStreams quiet;
};

// Opens the device for playback, in non-blocking mode, with the parameters that stand in it; takes over how large the
// device's buffer is. Returns what failed, and then nothing is held and `pcm` is null.
DeviceFailure alsa_open(AlsaDevice& device);

// Closes an open device and clears `pcm`.
void alsa_close(AlsaDevice& device);
