// SPDX-License-Identifier: MIT
// The extended Golay code (24,12), by tables that the compiler fills.
#include "ambe/golay.h"

#include <bit>

namespace {

constexpr std::uint32_t generator = 0xC75;
constexpr int data_bits = 12;
constexpr int check_bits = 11;
constexpr int perfect_bits = data_bits + check_bits;  // without the overall parity bit
constexpr std::uint32_t data_mask = (1U << data_bits) - 1;
constexpr std::uint32_t check_mask = (1U << check_bits) - 1;

// What the 23 bits have to be corrected by, for one syndrome.
struct Correction {
    std::uint16_t data;    // wrong data bits
    std::uint16_t weight;  // wrong bits altogether, check bits included: 0 to 3
};

constexpr std::uint32_t remainder_of(std::uint32_t data) {
    std::uint32_t rest = data << check_bits;
    for (int bit = perfect_bits - 1; bit >= check_bits; bit--)
        if ((rest >> bit & 1U) != 0) rest ^= generator << (bit - check_bits);
    return rest;
}

// The lower half of the code word of each data: eleven check bits, then the overall parity bit.
struct CheckTable {
    std::uint16_t of_data[1 << data_bits];
};

struct CorrectionTable {
    Correction of_syndrome[1 << check_bits];
};

constexpr std::uint16_t checked_by(std::uint32_t data) {
    const std::uint32_t check = remainder_of(data);
    const int ones = std::popcount(data) + std::popcount(check);
    return static_cast<std::uint16_t>(check << 1 | (static_cast<std::uint32_t>(ones) & 1U));
}

// The code is linear: the check bits of a sum are the sum of the check bits.
constexpr CheckTable make_check_table() {
    CheckTable table{};
    for (std::uint32_t data = 1; data <= data_mask; data++) {
        const std::uint32_t lowest = data & (~data + 1);
        const std::uint32_t others = data ^ lowest;
        table.of_data[data] = others == 0 ? checked_by(data) : table.of_data[lowest] ^ table.of_data[others];
    }
    return table;
}

constexpr CheckTable check_table = make_check_table();

constexpr std::uint32_t syndrome_of(std::uint32_t word23) {
    return static_cast<std::uint32_t>(check_table.of_data[word23 >> check_bits] >> 1) ^ (word23 & check_mask);
}

constexpr void add_pattern(CorrectionTable& table, std::uint32_t pattern) {
    table.of_syndrome[syndrome_of(pattern)] = {static_cast<std::uint16_t>(pattern >> check_bits),
                                               static_cast<std::uint16_t>(std::popcount(pattern))};
}

// The code is perfect: the 2048 patterns of up to three wrong bits have one syndrome each.
constexpr CorrectionTable make_correction_table() {
    CorrectionTable table{};
    for (int first = 0; first < perfect_bits; first++) {
        add_pattern(table, 1U << first);
        for (int second = 0; second < first; second++) {
            add_pattern(table, 1U << first | 1U << second);
            for (int third = 0; third < second; third++) add_pattern(table, 1U << first | 1U << second | 1U << third);
        }
    }
    return table;
}

constexpr CorrectionTable correction_table = make_correction_table();

constexpr bool every_syndrome_has_a_pattern() {
    for (int syndrome = 1; syndrome <= static_cast<int>(check_mask); syndrome++)
        if (correction_table.of_syndrome[syndrome].weight == 0) return false;
    return true;
}

static_assert(every_syndrome_has_a_pattern());
static_assert(check_table.of_data[0x800] >> 1 == 0x63A && check_table.of_data[0x001] >> 1 == 0x475);

}  // namespace

std::uint32_t golay24_encode(std::uint32_t data) {
    return (data & data_mask) << (check_bits + 1) | check_table.of_data[data & data_mask];
}

GolayWord golay24_decode(std::uint32_t word) {
    const std::uint32_t word23 = word >> 1 & (data_mask << check_bits | check_mask);
    const Correction& correction = correction_table.of_syndrome[syndrome_of(word23)];
    const std::uint32_t data = (word23 >> check_bits) ^ correction.data;
    const bool parity_differs = ((check_table.of_data[data] ^ word) & 1U) != 0;
    return {data, correction.weight + (parity_differs ? 1 : 0)};
}
