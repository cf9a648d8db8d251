// SPDX-License-Identifier: MIT
// One AMBE 3600x2400 frame: from 72 channel bits to 48 voice bits and their fields, with the errors corrected.
//
// Three words of 24 bits are interleaved in the frame: c0 and c1 are Golay code words, c1 scrambled by the data of c0;
// c2 is unprotected. Voice bits are 12 of c0, 12 of c1, 24 of c2, the first the most significant.
#pragma once

#include <cstdint>
#include <span>

constexpr int ambe_frame_size = 12;  // bytes: nine of voice, three of slow data, which are not looked at
constexpr int protected_bits = 48;   // of c0 and c1
constexpr int ambe_fields = 9;       // b0..b8
constexpr int silence_pitch = 124;   // b0: 0..123 voice, 124 and 125 silence, 126 and 127 tone
constexpr int tone_pitch = 126;

struct AmbeFrame {
    std::uint64_t voice_bits;  // 48 bits, v0 the most significant
    int field[ambe_fields];    // b0 pitch or kind, b1 voicing, b2 gain, b3 PRBA 2-4, b4 PRBA 5-8, b5..b8 HOC
    int errors_c0, errors_c1;  // 0 to 4 each; 4: not correctable, the data is a guess
    int tone_index;            // raw index, 8 bits; this and the volume mean something in tone frames only
    int tone_volume;           // 8 bits
};

// The three words of a frame as they were sent, c1 still scrambled.
struct ChannelWords {
    std::uint32_t c0, c1, c2;
};

ChannelWords ambe_deinterleave(std::span<const std::uint8_t, ambe_frame_size> bytes);

// The 24 bits that c1 was scrambled with, from the 12 corrected data bits of c0.
std::uint32_t ambe_scrambler(std::uint32_t data);

// Any 12 bytes are a frame; how good a one is in its error counts.
AmbeFrame ambe_frame_decode(std::span<const std::uint8_t, ambe_frame_size> bytes);
