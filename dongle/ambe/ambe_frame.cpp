// SPDX-License-Identifier: MIT
// One AMBE 3600x2400 frame: de-interleaving, error correction, descrambling, fields.
#include "ambe/ambe_frame.h"

#include "ambe/golay.h"

namespace {

constexpr int word_bits = 24;
constexpr int voice_bit_count = 48;

// A field is two runs of voice bits, the upper one first.
struct FieldRow {
    int AmbeFrame::*field;
    int upper_first, upper_bits, lower_first, lower_bits;
};

constexpr FieldRow field_rows[] = {
  // clang-format off
    {&AmbeFrame::pitch_index,    0, 6, 47, 1},  // b0
    {&AmbeFrame::voicing_index, 37, 4,  0, 0},  // b1
    {&AmbeFrame::gain_index,     6, 4, 41, 2},  // b2
    {&AmbeFrame::prba24_index,  10, 7, 43, 2},  // b3
    {&AmbeFrame::prba58_index,  17, 5, 45, 2},  // b4
    {&AmbeFrame::hoc1_index,    22, 4,  0, 0},  // b5
    {&AmbeFrame::hoc2_index,    26, 4,  0, 0},  // b6
    {&AmbeFrame::hoc3_index,    30, 4,  0, 0},  // b7
    {&AmbeFrame::hoc4_index,    34, 3,  0, 0},  // b8
  // clang-format on
};

constexpr bool rows_use_each_voice_bit_once() {
    std::uint64_t used = 0;
    int bits = 0;
    for (const FieldRow& row : field_rows) {
        for (int bit = 0; bit < row.upper_bits; bit++) used |= 1ULL << (row.upper_first + bit);
        for (int bit = 0; bit < row.lower_bits; bit++) used |= 1ULL << (row.lower_first + bit);
        bits += row.upper_bits + row.lower_bits;
    }
    return bits == voice_bit_count && used == (1ULL << voice_bit_count) - 1;
}

static_assert(rows_use_each_voice_bit_once());

std::uint32_t run_of(std::uint64_t voice_bits, int first, int bits) {
    return static_cast<std::uint32_t>(voice_bits >> (voice_bit_count - first - bits)) & ((1U << bits) - 1);
}

int field_of(std::uint64_t voice_bits, const FieldRow& row) {
    const std::uint32_t upper = run_of(voice_bits, row.upper_first, row.upper_bits);
    return static_cast<int>(upper << row.lower_bits | run_of(voice_bits, row.lower_first, row.lower_bits));
}

// Two neighbouring bits of a row go to one word: to bit 23 - row and to bit 11 - row.
std::uint32_t spread(std::uint32_t pair, int row) {
    return ((pair & 2U) << 22 | (pair & 1U) << 11) >> row;
}

}  // namespace

// The stream, most significant bit of the first byte first, fills a table of 12 rows and 6 columns row by row; columns
// 0 and 1 read downwards are c0, columns 2 and 3 c1, columns 4 and 5 c2. Three bytes are four rows.
ChannelWords ambe_deinterleave(FrameBytes bytes) {
    ChannelWords words{};
    for (int row = 0; row < 12; row += 4) {
        const std::uint8_t* three = &bytes[static_cast<std::size_t>(row / 4 * 3)];
        const std::uint32_t bits = static_cast<std::uint32_t>(three[0] << 16 | three[1] << 8 | three[2]);
        for (int step = 0; step < 4; step++) {
            const std::uint32_t columns = bits >> (18 - 6 * step);
            words.c0 |= spread(columns >> 4, row + step);
            words.c1 |= spread(columns >> 2, row + step);
            words.c2 |= spread(columns, row + step);
        }
    }
    return words;
}

// x(0) = 16 * data, x(i) = (173 * x(i-1) + 13849) mod 65536; the top bits of x(1) to x(24), first the most significant.
std::uint32_t ambe_scrambling_sequence(std::uint32_t data) {
    std::uint32_t x = 16 * data;
    std::uint32_t sequence = 0;
    for (int bit = 0; bit < word_bits; bit++) {
        x = (173 * x + 13849) & 0xFFFFU;
        sequence = sequence << 1 | x >> 15;
    }
    return sequence;
}

AmbeFrame ambe_frame_decode(FrameBytes bytes) {
    const ChannelWords words = ambe_deinterleave(bytes);
    const GolayWord c0 = golay24_decode(words.c0);
    const GolayWord c1 = golay24_decode(words.c1 ^ ambe_scrambling_sequence(c0.data));

    AmbeFrame frame{};
    frame.voice_bits = static_cast<std::uint64_t>(c0.data) << 36 | static_cast<std::uint64_t>(c1.data) << 24 | words.c2;
    for (const FieldRow& row : field_rows) frame.*row.field = field_of(frame.voice_bits, row);
    frame.errors_c0 = c0.errors;
    frame.errors_c1 = c1.errors;

    // A tone frame sends b2, b3 and the top bit of b4 as two bytes.
    const int tone = frame.gain_index << 10 | frame.prba24_index << 1 | frame.prba58_index >> 6;
    frame.tone_index = tone >> 8;
    frame.tone_volume = tone & 0xFF;
    return frame;
}
