// SPDX-License-Identifier: MIT
#include "frame_builder.h"

#include <bit>

namespace {

constexpr unsigned word_bits = 24;

void turn_over(AmbeFrameBytes& frame, unsigned stream) {
    frame[stream / 8] = static_cast<std::uint8_t>(frame[stream / 8] ^ (0x80u >> stream % 8));
}

constexpr std::uint64_t voice_bit(unsigned index) {
    return std::uint64_t{1} << (47 - index);
}

}  // namespace

std::uint32_t golay_word(std::uint32_t data) {
    constexpr std::uint32_t generator = 0xC75;
    std::uint32_t remainder = data << 11;
    for (unsigned bit = 22; bit >= 11; --bit)
        if (remainder >> bit & 1u) remainder ^= generator << (bit - 11);
    const std::uint32_t word23 = data << 11 | remainder;
    return word23 << 1 | (static_cast<unsigned>(std::popcount(word23)) & 1u);
}

std::uint32_t scrambling(std::uint32_t data) {
    std::uint32_t state = 16 * data;
    std::uint32_t sequence = 0;
    for (unsigned i = 0; i < word_bits; ++i) {
        state = (173 * state + 13849) % 65536;
        sequence = sequence << 1 | state >> 15;
    }
    return sequence;
}

// Stream bit 6 k + q is bit k + 12 (q mod 2) of word q / 2, each byte's most significant bit first.
unsigned stream_bit(unsigned word, unsigned bit) {
    return 6 * (bit % 12) + 2 * word + bit / 12;
}

AmbeFrameBytes frame_of_voice_bits(std::uint64_t voice_bits) {
    const auto first = static_cast<std::uint32_t>(voice_bits >> 36 & 0xFFF);
    const auto second = static_cast<std::uint32_t>(voice_bits >> 24 & 0xFFF);
    const std::uint32_t words[] = {golay_word(first), golay_word(second) ^ scrambling(first),
                                   static_cast<std::uint32_t>(voice_bits & 0xFFFFFF)};
    AmbeFrameBytes frame = {0, 0, 0, 0, 0, 0, 0, 0, 0, 0x55, 0x2D, 0x16};
    for (unsigned word = 0; word < 3; ++word)
        for (unsigned bit = 0; bit < word_bits; ++bit)
            if (words[word] >> (word_bits - 1 - bit) & 1u) turn_over(frame, stream_bit(word, bit));
    return frame;
}

// The kind in v0..v5 and v47, its lowest bit; index and volume most significant bit first in the bits named here.
AmbeFrameBytes tone_frame(unsigned raw_index, unsigned volume, unsigned kind) {
    constexpr unsigned index_bits[] = {6, 7, 8, 9, 41, 42, 10, 11};
    constexpr unsigned volume_bits[] = {12, 13, 14, 15, 16, 43, 44, 17};
    std::uint64_t bits = kind & 1u;
    for (unsigned i = 0; i < 6; ++i) bits |= voice_bit(i);
    for (unsigned i = 0; i < 8; ++i) {
        if (raw_index >> (7 - i) & 1u) bits |= voice_bit(index_bits[i]);
        if (volume >> (7 - i) & 1u) bits |= voice_bit(volume_bits[i]);
    }
    return frame_of_voice_bits(bits);
}

std::array<double, 2> tone_lines(unsigned raw_index) {
    constexpr double columns[] = {1209, 1336, 1477, 1633, 1052, 1162, 1279, 1430};  // four of DTMF, four of KNOX
    constexpr double rows[] = {697, 770, 852, 941, 606, 672, 743, 820};
    if (raw_index >= 32) return {31.25 * (raw_index - 32), 0};
    return {columns[raw_index / 4], rows[raw_index / 16 * 4 + raw_index % 4]};
}

AmbeFrameBytes with_errors(AmbeFrameBytes frame, std::uint32_t c0, std::uint32_t c1) {
    for (unsigned bit = 0; bit < word_bits; ++bit) {
        if (c0 >> (word_bits - 1 - bit) & 1u) turn_over(frame, stream_bit(0, bit));
        if (c1 >> (word_bits - 1 - bit) & 1u) turn_over(frame, stream_bit(1, bit));
    }
    return frame;
}
