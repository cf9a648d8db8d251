// SPDX-License-Identifier: MIT
// Four-character codes: a 32-bit value whose most significant byte is the first character.
#pragma once

#include <cstdint>

constexpr std::uint32_t fourcc(const char (&text)[5]) {
    return std::uint32_t{static_cast<std::uint8_t>(text[0])} << 24 |
           std::uint32_t{static_cast<std::uint8_t>(text[1])} << 16 |
           std::uint32_t{static_cast<std::uint8_t>(text[2])} << 8 | std::uint32_t{static_cast<std::uint8_t>(text[3])};
}

const char* fourcc_text(std::uint32_t code);
