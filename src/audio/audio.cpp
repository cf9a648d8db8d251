// SPDX-License-Identifier: MIT
// The audio device layer of play mode, with stubs for devices.
#include "audio/audio.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace {

constexpr char device_name[] = "Linux Audio Test";
constexpr std::uint32_t initial_count = 12;
constexpr int decimal = 10;

static_assert(sizeof device_name <= sizeof(AudioControl::name));

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

int audio_format(AudioControl*, int, long, int) {
    return 0;
}

int audio_open(AudioControl*, int) {
    return 0;
}

// Kept: the callback is not stored.
int audio_start(AudioControl*, AudioPullCallback, void*) {
    return 0;
}

int audio_stop(AudioControl*) {
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
    std::free(control->buffer);
    std::free(control);
    return 0;
}
