// SPDX-License-Identifier: MIT
// One AMBE 3600x2400 frame: from 72 channel bits to 48 voice bits and their fields, with the errors corrected.
//
// A frame of 12 bytes has nine of voice and three of slow data, which are ignored.
// Three words of 24 bits are interleaved in the frame: c0 and c1 are Golay code words, c1 scrambled by the data of c0;
// c2 is unprotected. Voice bits are 12 of c0, 12 of c1, 24 of c2, the first the most significant.
#pragma once

#include <cstdint>
#include <span>

#include "link/dongle.h"

constexpr int protected_bits = 48;  // of c0 and c1
constexpr int silence_pitch = 124;  // pitch_index: 0..123 voice, 124 and 125 silence, 126 and 127 tone
constexpr int tone_pitch = 126;

using FrameBytes = std::span<const std::uint8_t, ambe_frame_bytes>;

struct AmbeFrame {
    std::uint64_t voice_bits;  // 48 bits, v0 the most significant
    int pitch_index;           // b0: fundamental frequency, or kind of frame
    int voicing_index;         // b1
    int gain_index;            // b2
    int prba24_index;          // b3: coarse shape, elements 2 to 4 of the prediction residual block averages
    int prba58_index;          // b4: elements 5 to 8
    int hoc1_index;            // b5: fine shape, higher-order coefficients of block 1
    int hoc2_index;            // b6: of block 2
    int hoc3_index;            // b7: of block 3
    int hoc4_index;            // b8: of block 4
    int errors_c0, errors_c1;  // 0 to 4 each; 4: not correctable, the data is a guess
    int tone_index;            // raw index, 8 bits; this and the volume mean something in tone frames only
    int tone_volume;           // 8 bits
};

// The three words of a frame as they were sent, c1 still scrambled.
struct ChannelWords {
    std::uint32_t c0, c1, c2;
};

ChannelWords ambe_deinterleave(FrameBytes bytes);

// The 24 bits that c1 was scrambled with, from the 12 corrected data bits of c0.
std::uint32_t ambe_scrambling_sequence(std::uint32_t data);

// Any 12 bytes are a frame; how good a one is in its error counts.
AmbeFrame ambe_frame_decode(FrameBytes bytes);
