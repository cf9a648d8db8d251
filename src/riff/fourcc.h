// SPDX-License-Identifier: MIT
// Four-character codes: a 32-bit value whose most significant byte is the first character ("RIFF" is 0x52494646).
#pragma once

#include <cstdint>

constexpr std::uint32_t fourcc(const char (&text)[5]) {
    return std::uint32_t{static_cast<std::uint8_t>(text[0])} << 24 |
           std::uint32_t{static_cast<std::uint8_t>(text[1])} << 16 |
           std::uint32_t{static_cast<std::uint8_t>(text[2])} << 8 | std::uint32_t{static_cast<std::uint8_t>(text[3])};
}

// The same four bytes, last one first: 0x57415645 ("WAVE") becomes 0x45564157 ("EVAW").
constexpr std::uint32_t fourcc_reversed(std::uint32_t code) {
    return code << 24 | (code & 0xFF00) << 8 | (code >> 8 & 0xFF00) | code >> 24;
}

// Not called by the program. The four characters, then a terminating zero. The text is one static buffer: the next call
// overwrites it, so two results never stand in one printf. Bytes are taken as they are, unprintable ones included.
const char* fourcc_text(std::uint32_t code);
