// SPDX-License-Identifier: MIT
// The extended Golay code (24,12): twelve data bits, eleven check bits and an overall parity bit.
//
//   bit   23         12  11        1   0
//        ┌─────────────┬────────────┬────────┐
//        │ data, 12    │ check, 11  │ parity │   the parity bit makes the number of ones even
//        └─────────────┴────────────┴────────┘
//
// The check bits are the remainder of data * x^11 divided by x^11 + x^10 + x^6 + x^5 + x^4 + x^2 + 1
// (M. J. E. Golay, "Notes on Digital Coding", Proc. IRE 37, 1949).
#pragma once

#include <cstdint>

constexpr int golay_correctable = 3;    // that many wrong bits of a word are corrected with certainty
constexpr int golay_uncorrectable = 4;  // the count of a word with at least four wrong bits

struct GolayWord {
    std::uint32_t data;  // 12 bits; a guess when errors is golay_uncorrectable
    int errors;          // wrong bits that were found, 0 to 4
};

// The code word of the lower 12 bits of `data`.
std::uint32_t golay24_encode(std::uint32_t data);

// Corrects up to three wrong bits of the 24-bit `word` and detects a fourth.
GolayWord golay24_decode(std::uint32_t word);
