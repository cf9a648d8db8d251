// SPDX-License-Identifier: MIT
// Sums of sinusoids (`add_oscillators`, declared in lanes/version_functions.h) of constant frequency whose amplitude
// grows or fades geometrically.
#pragma once

#include "speech_model.h"

// Sample n of oscillator i is amplitude growth^n cos(phase + n step). Phases and steps are in turns times 2^32.
struct alignas(32) Oscillators {
    std::uint32_t phase[harmonic_slots];
    std::uint32_t step[harmonic_slots];
    float amplitude[harmonic_slots];
    float growth[harmonic_slots];
    int count;
};
