// SPDX-License-Identifier: MIT
// The speeds that the line can be set to, by name.
#pragma once

#include <termios.h>

#include <algorithm>

struct SpeedRow {
    const char* name;
    int code;  // as termios has it: 4099, not 230400, for "230400"
};

// Looked up from the first row on, letters as written: "exta" and "EXTA" are rows, "Exta" is not.
// clang-format off
inline constexpr SpeedRow speed_table[] = {
    {"0",       B0},
    {"50",      B50},
    {"75",      B75},
    {"110",     B110},
    {"134",     B134},
    {"150",     B150},
    {"200",     B200},
    {"300",     B300},
    {"600",     B600},
    {"1200",    B1200},
    {"1800",    B1800},
    {"2400",    B2400},
    {"4800",    B4800},
    {"9600",    B9600},
    {"19200",   B19200},
    {"38400",   B38400},
    {"57600",   B57600},
    {"115200",  B115200},
    {"230400",  B230400},
    {"exta",    EXTA},
    {"EXTA",    EXTA},
    {"extb",    EXTB},
    {"EXTB",    EXTB},
    {},                     // end: no name
};
// clang-format on

static_assert(std::ranges::all_of(speed_table, [](const SpeedRow& row) { return row.code >= 0; }));
static_assert(B38400 == 15 && B57600 == 4097 && B115200 == 4098 && B230400 == 4099);
static_assert(EXTA == B19200 && EXTB == B38400);
