// SPDX-License-Identifier: MIT
// The audio device layer of play mode: which device, its record, and device 0, which does nothing.
#include "audio/audio.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "audio/sound_device.h"

namespace {

constexpr char device_name[] = "Linux Audio Test";
constexpr std::uint32_t initial_count = 12;
constexpr int decimal = 10;
constexpr std::uint8_t silent_device = 0;

bool verbose = false;

static_assert(sizeof device_name <= sizeof(AudioControl::name));

// No record at all is silent too.
bool is_silent(const AudioControl* control) {
    return control == nullptr || control->device == silent_device;
}

}  // namespace

int audio_detect(int report) {
    const char* text = std::getenv("SOUNDCARD");
    const long device = text != nullptr ? std::strtol(text, nullptr, decimal) : 0;
    if (device != 0) return static_cast<int>(device);

    // Kept: having no device is worth a line, not an error; the caller goes on with device 0.
    if (report != 0) std::printf("No audio devices detected.\n");
    return 0;
}

AudioControl* audio_alloc(int device) {
    auto* control = static_cast<AudioControl*>(std::calloc(1, sizeof(AudioControl)));
    if (control == nullptr) {
        std::fprintf(stderr, "MCI: out of memory for Audio control !\n");
        return nullptr;
    }
    control->device = static_cast<std::uint8_t>(device);
    control->count = initial_count;
    std::memcpy(control->name, device_name, sizeof device_name);
    return control;
}

void audio_verbose(int level) {
    verbose = level > 0;
}

int audio_format(AudioControl* control, int channels, long sample_rate, int bits_per_sample) {
    if (!is_silent(control)) sound_format(*control, channels, sample_rate, bits_per_sample);
    return 0;
}

int audio_open(AudioControl* control, int) {
    if (!is_silent(control)) sound_open(*control, verbose);
    return 0;
}

// Kept: on the silent device the callback is not stored.
int audio_start(AudioControl* control, AudioPullCallback callback, void* data) {
    if (is_silent(control) || !sound_start(*control)) return 0;
    return audio_attach(control, callback, data);
}

int audio_service(AudioControl* control) {
    if (!is_silent(control)) sound_service(*control);
    return 0;
}

int audio_stop(AudioControl* control) {
    if (is_silent(control)) return 0;
    sound_stop(*control);
    control->attached = 0;
    control->callback = nullptr;
    control->callback_data = nullptr;
    return 0;
}

int audio_attach(AudioControl* control, AudioPullCallback callback, void* data) {
    control->callback = callback;
    control->callback_data = data;
    control->attached = 1;
    control->second_flag = 0;
    return 0;
}

int audio_free(AudioControl* control) {
    if (!is_silent(control)) sound_close(*control);
    std::free(control->buffer);
    std::free(control);
    return 0;
}
