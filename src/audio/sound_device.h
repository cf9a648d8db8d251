// SPDX-License-Identifier: MIT
// The devices that are heard: what the audio layer does for every device number but 0.
//
// One of two files is built: alsa_device.cpp, or built_without_sound.cpp where the program is built without sound.
//
// Failure: a device that cannot be opened, or that stops taking samples, falls silent for the rest of the run. The
// caller goes on as with device 0 and learns of it only from the line that is printed when `verbose` was asked for:
// "MCI: no sound on '<device>', <step>: <reason> !\n" on standard error.
#pragma once

#include "audio/audio.h"

// Hangs a state of its own on `control.buffer` and notes the format there.
void sound_format(AudioControl& control, int channels, long sample_rate, int bits_per_sample);

// Opens the device for playback, with a queue of `control.count` blocks. Answers within a few seconds, also when a
// sound server does not.
void sound_open(AudioControl& control, bool verbose);

// Makes an open device ready for the next file. Returns whether there is one that takes samples.
bool sound_start(AudioControl& control);

// Pulls one block through the callback and hands it to the device, then waits until the queue has room for another.
// Without a device that takes samples it pulls nothing.
void sound_service(AudioControl& control);

// Plays what is queued, a queue's length at most.
void sound_stop(AudioControl& control);

// Closes the device. What hangs on `control.buffer` stays the record's to free.
void sound_close(AudioControl& control);
