// SPDX-License-Identifier: MIT
// The constant tables of AMBE 3600x2400, named as the field names them. All values of the codebooks are in log2 units.
//
// PRBA: prediction residual block averages, the coarse shape of the spectrum. HOC: higher-order coefficients, the
// fine shape inside one of the four blocks of harmonics.
#pragma once

#include <cstdint>

#include "speech_model.h"

constexpr int harmonic_blocks = 4;
constexpr int voice_pitches = 124;  // values of b0 that are voice: 0..123
constexpr int voicing_bands = 8;    // of 500 Hz each
constexpr int hoc_values = 4;       // C3..C6

// One value of b0: fundamental frequency in cycles per sample and number of harmonics, L.
//
//   u = 2^(4.1261 + 0.02179 (b0 - 45))      f0 = 0.4627 / u      L = u without its fraction, from 9 to 56
//
// Published decoders have another rule; this one was inferred from recordings of vocoder hardware
// (docs/software-dongle.md).
struct PitchRow {
    double fundamental;
    int harmonics;
};

extern const PitchRow pitch_table[voice_pitches];            // by b0
extern const std::uint8_t voicing_table[16][voicing_bands];  // by b1: 1 voiced, 0 unvoiced
extern const float gain_table[64];                           // by b2: half the gain, gamma / 2
extern const float prba24_table[512][3];                     // by b3: G2..G4
extern const float prba58_table[128][4];                     // by b4: G5..G8
extern const float hoc_b5_table[16][hoc_values];             // by b5: C3..C6 of block 1
extern const float hoc_b6_table[16][hoc_values];             // by b6: of block 2
extern const float hoc_b7_table[16][hoc_values];             // by b7: of block 3
extern const float hoc_b8_table[8][hoc_values];              // by b8: of block 4; its fourth index bit is never sent
extern const std::uint8_t block_length_table[max_harmonics - min_harmonics + 1][harmonic_blocks];  // by L - 9: J1..J4
