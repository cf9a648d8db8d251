// SPDX-License-Identifier: MIT
// What one frame says about 20 ms of speech: fundamental frequency, and for each harmonic a magnitude and whether it is
// voiced (a sinusoid) or unvoiced (a band of noise).
#pragma once

#include <cstdint>

#include "ambe_tables.h"

// Room for the 56 harmonics in whole groups of eight; slot i holds harmonic i + 1.
constexpr int harmonic_slots = 64;

struct alignas(32) SpeechModel {
    float
        log2_magnitude[harmonic_slots];  // as decoded: what the next frame is predicted from; 0 past the last harmonic
    float magnitude[harmonic_slots];     // half the amplitude when voiced, density of noise when not; 0 past the last
    std::uint32_t voiced[harmonic_slots];  // all ones: voiced; 0: unvoiced, or past the last harmonic
    std::uint32_t fundamental;             // turns per sample (omega 0 / 2 pi) times 2^32
    int harmonics;                         // L
    float gain;                            // gamma
};

// The model before the first frame, and after frames that carry none: all log magnitudes and magnitudes 0.
void speech_model_reset(SpeechModel& model);

// Silences the model: pitch and number of harmonics stay, all is unvoiced with magnitude 0.
void speech_model_mute(SpeechModel& model);
