// SPDX-License-Identifier: MIT
// The voiced harmonics (`voiced_synthesis`, declared in lanes/version_functions.h): sinusoids that run smoothly from
// frame to frame, or overlap.
#pragma once

#include <algorithm>

#include "speech_model.h"

// The sinusoids in the middle of a frame. Phases and the fundamental are in turns times 2^32.
struct alignas(32) VoicedHarmonics {
    float amplitude[harmonic_slots];      // 0: not voiced, or past the last harmonic
    std::uint32_t phase[harmonic_slots];  // phi
    std::uint32_t fundamental;            // omega 0 / 2 pi
    int count;                            // L
};

// ws(n), the window of sinusoids that overlap: 1 up to |n| = 55, falling in a straight line, 0 from |n| = 105 on;
// ws(n) + ws(n - 160) = 1 between. Always inlined: no copy of it may be compiled for one processor and be called on
// another.
[[gnu::always_inline]] constexpr float synthesis_window(int n) {
    return static_cast<float>(std::clamp((105 - std::max(n, -n)) * 0.02, 0.0, 1.0));
}
