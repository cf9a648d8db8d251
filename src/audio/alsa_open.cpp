// SPDX-License-Identifier: MIT
#include "audio/alsa_open.h"

#include <algorithm>

namespace {

// Device and period are negotiated; format, channels and rate are not, and need not be: "default" and "plughw" convert.
int set_hardware(AlsaDevice& device, snd_pcm_hw_params_t* hardware) {
    const AlsaLibrary& alsa = *device.alsa;
    const auto channels = static_cast<unsigned>(device.channels);
    const auto rate = static_cast<unsigned>(device.sample_rate);
    snd_pcm_uframes_t period = device.block_frames;
    snd_pcm_uframes_t buffer = device.queue_frames;
    int error = alsa.snd_pcm_hw_params_any(device.pcm, hardware);
    if (error >= 0) error = alsa.snd_pcm_hw_params_set_access(device.pcm, hardware, SND_PCM_ACCESS_RW_INTERLEAVED);
    if (error >= 0) error = alsa.snd_pcm_hw_params_set_format(device.pcm, hardware, SND_PCM_FORMAT_S16_LE);
    if (error >= 0) error = alsa.snd_pcm_hw_params_set_channels(device.pcm, hardware, channels);
    if (error >= 0) error = alsa.snd_pcm_hw_params_set_rate(device.pcm, hardware, rate, 0);
    if (error >= 0) error = alsa.snd_pcm_hw_params_set_period_size_near(device.pcm, hardware, &period, nullptr);
    if (error >= 0) error = alsa.snd_pcm_hw_params_set_buffer_size_near(device.pcm, hardware, &buffer);
    if (error >= 0) error = alsa.snd_pcm_hw_params(device.pcm, hardware);
    if (error >= 0) error = alsa.snd_pcm_get_params(device.pcm, &device.buffer_frames, &period);
    return error;
}

// Playing starts with half a queue, so that the first late block finds the other half's worth of time.
int set_software(AlsaDevice& device, snd_pcm_sw_params_t* software) {
    const AlsaLibrary& alsa = *device.alsa;
    const snd_pcm_uframes_t room = device.buffer_frames - device.full_frames;
    int error = alsa.snd_pcm_sw_params_current(device.pcm, software);
    if (error >= 0) {
        error = alsa.snd_pcm_sw_params_set_start_threshold(device.pcm, software, device.queue_frames / 2);
    }
    if (error >= 0) {
        error = alsa.snd_pcm_sw_params_set_avail_min(device.pcm, software, room);
    }
    if (error >= 0) error = alsa.snd_pcm_sw_params(device.pcm, software);
    return error;
}

// Room for three blocks is kept, one for the next and two that make up for what a sound server adds: so a key stops the
// sound within a quarter of a second. A queue of less than four blocks has no room to spare.
snd_pcm_uframes_t full_frames(const AlsaDevice& device) {
    const snd_pcm_uframes_t kept = (device.queue_frames < 4 * device.block_frames ? 1 : 3) * device.block_frames;
    return device.queue_frames - std::min(device.queue_frames, kept);
}

int set_parameters(AlsaDevice& device) {
    const AlsaLibrary& alsa = *device.alsa;
    snd_pcm_hw_params_t* hardware = nullptr;
    int error = alsa.snd_pcm_hw_params_malloc(&hardware);
    if (error < 0) return error;
    error = set_hardware(device, hardware);
    alsa.snd_pcm_hw_params_free(hardware);
    if (error < 0) return error;

    device.queue_frames = std::min(device.queue_frames, device.buffer_frames);
    device.full_frames = full_frames(device);
    snd_pcm_sw_params_t* software = nullptr;
    error = alsa.snd_pcm_sw_params_malloc(&software);
    if (error < 0) return error;
    error = set_software(device, software);
    alsa.snd_pcm_sw_params_free(software);
    return error;
}

}  // namespace

void alsa_close(AlsaDevice& device) {
    device.alsa->snd_pcm_close(device.pcm);
    device.pcm = nullptr;
}

// Not blocking, so that a card which somebody else plays on is busy at once.
DeviceFailure alsa_open(AlsaDevice& device) {
    int error = device.alsa->snd_pcm_open(&device.pcm, device.name, SND_PCM_STREAM_PLAYBACK, SND_PCM_NONBLOCK);
    if (error < 0) {
        device.pcm = nullptr;
        return {"open", error};
    }
    error = set_parameters(device);
    if (error >= 0) return {};
    alsa_close(device);
    return {"set parameters", error};
}
