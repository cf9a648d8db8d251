// SPDX-License-Identifier: MIT
// Four-character codes as text.
#include "riff/fourcc.h"

static_assert(fourcc("RIFF") == 0x52494646 && fourcc("RIFX") == 0x52494658 && fourcc("WAVE") == 0x57415645);
static_assert(fourcc("fmt ") == 0x666D7420 && fourcc("data") == 0x64617461);
static_assert(fourcc_reversed(fourcc("WAVE")) == 0x45564157);

const char* fourcc_text(std::uint32_t code) {
    static char text[5];
    for (int i = 0; i < 4; i++) text[i] = static_cast<char>(code >> (24 - 8 * i) & 0xFF);
    return text;
}
