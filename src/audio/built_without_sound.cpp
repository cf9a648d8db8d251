// SPDX-License-Identifier: MIT
// The devices that are heard, in a program that is built without sound: each is as silent as device 0.
#include <cstdio>

#include "audio/sound_device.h"

void sound_format(AudioControl&, int, long, int) {}

void sound_open(AudioControl& control, bool verbose) {
    if (!verbose) return;
    std::fprintf(stderr, "MCI: no sound on device %d, built without sound !\n", control.device);
}

bool sound_start(AudioControl&) {
    return false;
}

void sound_service(AudioControl&) {}
void sound_stop(AudioControl&) {}
void sound_close(AudioControl&) {}
