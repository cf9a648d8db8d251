// SPDX-License-Identifier: MIT
// What one frame says about 20 ms of speech: fundamental frequency, and for each harmonic a magnitude and whether it is
// voiced (a sinusoid) or unvoiced (a band of noise).
#pragma once

#include <cstdint>

constexpr int min_harmonics = 9;
constexpr int max_harmonics = 56;

// Room for the 56 harmonics in whole groups of eight; slot i holds harmonic i + 1.
constexpr int harmonic_slots = 64;

// Frequencies and phases are in turns times 2^32: they wrap by themselves and lose nothing over hours.
struct alignas(32) Harmonics {
    float magnitude[harmonic_slots];       // half the amplitude when voiced, density of noise when not; 0 past the last
    std::uint32_t voiced[harmonic_slots];  // all ones: voiced; 0: unvoiced, or past the last harmonic
    std::uint32_t fundamental;             // omega 0 / 2 pi, turns per sample times 2^32
    int count;                             // L
};

struct SpeechModel {
    Harmonics harmonics;
    float log2_magnitude[harmonic_slots];  // what the next frame is predicted from; 0 past the last harmonic
};

// The magnitude of an unvoiced harmonic is that of a voiced one of the same power times noise_density / sqrt(omega 0).
constexpr float noise_density = 0.2046F;

// Turns times 2^32, of turns from 0 to 1. Always inlined: no copy of it may be compiled for one processor and be called
// on another.
[[gnu::always_inline]] constexpr std::uint32_t phase_of_turns(double turns) {
    return static_cast<std::uint32_t>(turns * 0x1p32 + 0.5);
}

// The model before the first frame, and after frames that carry none: 30 harmonics, magnitudes and their logarithms 0.
void speech_model_reset(SpeechModel& model);

// Pitch and number of harmonics stay, all is unvoiced with magnitude 0.
void harmonics_mute(Harmonics& harmonics);

// What a tone frame says instead: one or two sinusoids.
struct ToneModel {
    std::uint32_t first_step;   // turns per sample times 2^32
    std::uint32_t second_step;  // 0: there is one line only
    float log2_peak;            // of the whole tone; two lines share it equally
};
