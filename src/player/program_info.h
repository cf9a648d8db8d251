// SPDX-License-Identifier: MIT
// Who made the program and what it calls itself.
#pragma once

struct ProgramInfo {
    char company[64];
    char notice[32];
    char title[80];
    char version[16];
};

inline constexpr ProgramInfo program_info = {
    .company = "Wexcombe Corporation",
    .notice = "Copyright (c) 2026",
    .title = "Tallis Audio Player",
    .version = "1.0.7",
};
