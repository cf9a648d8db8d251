// SPDX-License-Identifier: MIT
// The devices that are heard, through ALSA's library: 1 is its "default", n from 2 on is the card n - 2.
//
// The device's queue paces the program. A block is written at once, then the program waits until the queue has room for
// the next one: so a key is seen within a block's length, and whatever plays is at most one queue old. The device is
// never in blocking mode but for the end of a drain, and every wait is bounded.
#include <errno.h>
#include <poll.h>

#include <cstdio>
#include <cstdlib>

#include "audio/alsa_open.h"
#include "audio/device_trial.h"
#include "audio/quiet_streams.h"
#include "audio/sound_device.h"

namespace {

constexpr int first_card_device = 2;
constexpr int sample_bits = 16;
constexpr unsigned sample_bytes = 2;

constexpr int open_timeout_ms = 5000;  // a sound server may have to be started first
constexpr int patience_ms = 3000;      // how long a device may take no sample before it is given up
constexpr int nap_ms = 10;
constexpr int naps_of_patience = patience_ms / nap_ms;
constexpr snd_pcm_sframes_t blocks_left_to_drain = 2;  // what the drain itself waits for

AlsaDevice* device_of(const AudioControl& control) {
    return reinterpret_cast<AlsaDevice*>(control.buffer);
}

bool is_open(const AlsaDevice* device) {
    return device != nullptr && device->pcm != nullptr;
}

void nap() {
    poll(nullptr, 0, nap_ms);
}

void report(const char* name, const char* step, const char* reason) {
    std::fprintf(stderr, "MCI: no sound on '%s', %s: %s !\n", name, step, reason);
}

// --- opening

DeviceFailure open_for_trial(void* device) {
    return alsa_open(*static_cast<AlsaDevice*>(device));
}

DeviceFailure open_quietly(AlsaDevice& device) {
    if (device.bits_per_sample != sample_bits || device.block_frames == 0) return {"set parameters", -EINVAL};
    if (quiet_streams_open(device.quiet) < 0) return {"open", -errno};

    device.alsa_called = true;
    quiet_streams_begin(device.quiet);
    // The configuration is read once, here, for both processes. An error in it shows when the device is opened.
    device.alsa->snd_config_update();
    // The child process opens the device first, because a sound server that hangs would hang the program as well.
    DeviceFailure failure = device_trial(open_for_trial, &device, open_timeout_ms);
    if (failure.error == 0) failure = alsa_open(device);
    quiet_streams_end(device.quiet);
    return failure;
}

// --- playing

// Closes the device, so that the run goes on as with device 0, and reports why, with the streams turned back meanwhile.
void give_up(AlsaDevice& device, const char* step, int error) {
    alsa_close(device);
    quiet_streams_end(device.quiet);
    if (device.verbose) report(device.name, step, device.alsa->snd_strerror(error));
    quiet_streams_begin(device.quiet);
}

int resume(AlsaDevice& device) {
    int error = -EAGAIN;
    for (int naps = 0; error == -EAGAIN && naps < naps_of_patience; naps++) {
        error = device.alsa->snd_pcm_resume(device.pcm);
        if (error == -EAGAIN) nap();  // the card is not back yet
    }
    return error;
}

// Makes the device ready again after a call that failed with `error`. Returns 0 when that call may be repeated, else
// the error that prevents it. A card that was suspended is resumed; one that ran short, or is in a state in which it
// takes nothing, is prepared.
int recover(AlsaDevice& device, int error) {
    switch (error) {
        case 0:
        case -EINTR: return 0;
        case -ESTRPIPE:
            if (resume(device) == 0) return 0;
            [[fallthrough]];  // not every card resumes
        case -EPIPE:
        case -EBADFD: return device.alsa->snd_pcm_prepare(device.pcm);
        default: return error;
    }
}

// Waits until the device takes samples. Returns 0, or the error because of which it does not.
int wait_for_device(AlsaDevice& device) {
    const int result = device.alsa->snd_pcm_wait(device.pcm, patience_ms);
    if (result > 0) return 0;
    return result == 0 ? -ETIMEDOUT : recover(device, result);
}

// Writes every sample of the block once. Returns 0, or the error because of which the device takes no more.
int write_block(AlsaDevice& device, const std::uint8_t* block) {
    const std::size_t frame_bytes = audio_block_bytes / device.block_frames;
    snd_pcm_uframes_t left = device.block_frames;
    int error = 0;
    for (int fruitless = 0; left > 0 && error == 0;) {
        const snd_pcm_sframes_t result = device.alsa->snd_pcm_writei(device.pcm, block, left);
        if (result > 0) {
            block += static_cast<std::size_t>(result) * frame_bytes;
            left -= static_cast<snd_pcm_uframes_t>(result);
            continue;
        }
        if (++fruitless > naps_of_patience) return result < 0 ? static_cast<int>(result) : -ETIMEDOUT;
        if (fruitless > 1) nap();
        const bool full = result == 0 || result == -EAGAIN;
        error = full ? wait_for_device(device) : recover(device, static_cast<int>(result));
    }
    return error;
}

// Returns how many frames wait to be played, or the device's error.
snd_pcm_sframes_t queued_frames(AlsaDevice& device) {
    const snd_pcm_sframes_t room = device.alsa->snd_pcm_avail(device.pcm);
    return room < 0 ? room : static_cast<snd_pcm_sframes_t>(device.buffer_frames) - room;
}

// Waits until the queue takes another block whole. An underrun or a suspended card is left to the next write.
int wait_for_room(AlsaDevice& device) {
    const auto most = static_cast<snd_pcm_sframes_t>(device.full_frames);
    for (int fruitless = 0; fruitless <= naps_of_patience; fruitless++) {
        const snd_pcm_sframes_t queued = queued_frames(device);
        if (queued == -EPIPE || queued == -ESTRPIPE) return 0;
        if (queued < 0 && queued != -EINTR) return static_cast<int>(queued);
        if (queued >= 0 && queued <= most) return 0;
        if (fruitless > 0) nap();
        const int error = queued < 0 ? 0 : wait_for_device(device);
        if (error < 0) return error;
    }
    return -ETIMEDOUT;
}

// --- stopping

// Waits until little is left of what is queued. Returns 0, the device's error, or -ETIMEDOUT when it stops playing.
int wait_for_end(AlsaDevice& device) {
    const snd_pcm_sframes_t little = blocks_left_to_drain * static_cast<snd_pcm_sframes_t>(device.block_frames);
    snd_pcm_sframes_t queued = queued_frames(device);
    for (int idle_naps = 0; queued > little && idle_naps < naps_of_patience;) {
        nap();
        const snd_pcm_sframes_t before = queued;
        queued = queued_frames(device);
        idle_naps = queued < before ? 0 : idle_naps + 1;
    }
    if (queued < 0) return static_cast<int>(queued);
    return queued <= little ? 0 : -ETIMEDOUT;
}

// Plays what is queued. A sound server that hangs never ends a drain, so the queue is watched until its last blocks,
// and only these are left to the drain.
int play_out(AlsaDevice& device) {
    const AlsaLibrary& alsa = *device.alsa;
    if (alsa.snd_pcm_state(device.pcm) == SND_PCM_STATE_PREPARED) {  // less than half a queue was written, or nothing
        if (queued_frames(device) == 0) return 0;
        alsa.snd_pcm_start(device.pcm);
    }
    const int error = wait_for_end(device);
    if (error < 0) return error;

    alsa.snd_pcm_nonblock(device.pcm, 0);
    const int drained = alsa.snd_pcm_drain(device.pcm);
    alsa.snd_pcm_nonblock(device.pcm, 1);
    return drained;
}

// Errors that a drain may end with although the device is well: an underrun at the very end has played everything.
bool is_harmless_after_drain(int error) {
    return error == -EPIPE || error == -ESTRPIPE || error == -EBADFD || error == -EINTR || error == -EAGAIN;
}

int stop_playing(AlsaDevice& device) {
    const int error = play_out(device);
    if (error >= 0) return 0;
    device.alsa->snd_pcm_drop(device.pcm);
    return is_harmless_after_drain(error) ? device.alsa->snd_pcm_prepare(device.pcm) : error;
}

}  // namespace

void sound_format(AudioControl& control, int channels, long sample_rate, int bits_per_sample) {
    auto* device = static_cast<AlsaDevice*>(std::calloc(1, sizeof(AlsaDevice)));
    if (device == nullptr) return;  // the device is silent, and sound_open says so
    std::free(control.buffer);
    control.buffer = reinterpret_cast<std::uint8_t*>(device);

    const int card = control.device - first_card_device;
    std::snprintf(device->name, sizeof device->name, card < 0 ? "default" : "plughw:%d", card);
    device->channels = channels;
    device->sample_rate = sample_rate;
    device->bits_per_sample = bits_per_sample;
    if (channels > 0) device->block_frames = audio_block_bytes / (sample_bytes * static_cast<unsigned>(channels));
    device->queue_frames = control.count * device->block_frames;
}

void sound_open(AudioControl& control, bool verbose) {
    AlsaDevice* device = device_of(control);
    if (device == nullptr) {
        if (verbose) std::fprintf(stderr, "MCI: out of memory for sound device !\n");
        return;
    }
    device->verbose = verbose;

    const char* reason = nullptr;
    device->alsa = alsa_library(&reason);
    if (device->alsa == nullptr) {
        if (verbose) report(device->name, "load", reason);
        return;
    }
    const DeviceFailure failure = open_quietly(*device);
    if (failure.error != 0 && verbose) report(device->name, failure.step, device->alsa->snd_strerror(failure.error));
}

bool sound_start(AudioControl& control) {
    AlsaDevice* device = device_of(control);
    if (!is_open(device)) return false;
    quiet_streams_begin(device->quiet);
    const int error = device->alsa->snd_pcm_prepare(device->pcm);
    if (error < 0) give_up(*device, "prepare", error);
    quiet_streams_end(device->quiet);
    return is_open(device);
}

void sound_service(AudioControl& control) {
    AlsaDevice* device = device_of(control);
    if (!is_open(device)) return;
    std::uint8_t block[audio_block_bytes];
    control.callback(control.callback_data, block);

    quiet_streams_begin(device->quiet);
    int error = write_block(*device, block);
    if (error == 0) error = wait_for_room(*device);
    if (error < 0) give_up(*device, "play", error);
    quiet_streams_end(device->quiet);
}

void sound_stop(AudioControl& control) {
    AlsaDevice* device = device_of(control);
    if (!is_open(device)) return;
    quiet_streams_begin(device->quiet);
    const int error = stop_playing(*device);
    if (error < 0) give_up(*device, "drain", error);
    quiet_streams_end(device->quiet);
}

void sound_close(AudioControl& control) {
    AlsaDevice* device = device_of(control);
    if (device == nullptr || !device->alsa_called) return;
    quiet_streams_begin(device->quiet);
    if (device->pcm != nullptr) alsa_close(*device);
    device->alsa->snd_config_update_free_global();
    quiet_streams_end(device->quiet);
    quiet_streams_close(device->quiet);
}
