// SPDX-License-Identifier: MIT
// The voiced harmonics (voiced_synthesis), and the window under which neighbouring frames overlap.
#pragma once

#include "synthesis/mbe_synthesis.h"

// ws(n): 1 up to |n| = 55, falling in a straight line, 0 from |n| = 105 on; ws(n) + ws(n - 160) = 1 between. Always
// inlined: no copy of it may be compiled for one processor and be called on another.
[[gnu::always_inline]] constexpr float synthesis_window(int n) {
    const int distance = n < 0 ? -n : n;
    if (distance <= 55) return 1.0F;
    return distance < 105 ? static_cast<float>((105 - distance) * 0.02) : 0.0F;
}

// What becomes of the phases from one frame to the next.
struct PhaseStep {
    std::uint32_t turn;                   // by which the fundamental's phase moved on between the two middles
    std::uint32_t phase[harmonic_slots];  // phi at this frame's middle
};
