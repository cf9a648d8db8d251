// SPDX-License-Identifier: MIT
// Frames from voice bits, error-free: the way of the encoder, bit by bit.
#pragma once

#include <cstdint>

#include "ambe/ambe_frame.h"
#include "ambe/golay.h"
#include "dongle/golden_table.h"

// The fields of a frame in the order in which they are numbered: b0..b8.
inline constexpr int AmbeFrame::*frame_fields[] = {
    &AmbeFrame::pitch_index,  &AmbeFrame::voicing_index, &AmbeFrame::gain_index,
    &AmbeFrame::prba24_index, &AmbeFrame::prba58_index,  &AmbeFrame::hoc1_index,
    &AmbeFrame::hoc2_index,   &AmbeFrame::hoc3_index,    &AmbeFrame::hoc4_index,
};

inline FrameOfBytes interleaved(const ChannelWords& words) {
    const std::uint32_t word[3] = {words.c0, words.c1, words.c2};
    FrameOfBytes bytes{};
    for (std::size_t p = 0; p < 72; p++) {
        const std::uint32_t bit = word[p % 6 / 2] >> (23 - (p / 6 + 12 * (p % 6 % 2))) & 1U;
        bytes[p / 8] = static_cast<std::uint8_t>(bytes[p / 8] | bit << (7 - p % 8));
    }
    return bytes;
}

// The frame of 48 voice bits, v0 the most significant.
inline FrameOfBytes frame_of_voice_bits(std::uint64_t voice_bits) {
    const auto data0 = static_cast<std::uint32_t>(voice_bits >> 36 & 0xFFF);
    const auto data1 = static_cast<std::uint32_t>(voice_bits >> 24 & 0xFFF);
    return interleaved({golay24_encode(data0), golay24_encode(data1) ^ ambe_scrambling_sequence(data0),
                        static_cast<std::uint32_t>(voice_bits & 0xFFFFFF)});
}

// `frame` with the bits of `c0` and `c1` turned over in its first two words.
inline FrameOfBytes with_errors(const FrameOfBytes& frame, std::uint32_t c0, std::uint32_t c1) {
    const ChannelWords words = ambe_deinterleave(frame);
    return interleaved({words.c0 ^ c0, words.c1 ^ c1, words.c2});
}
