// SPDX-License-Identifier: MIT
// The two parts of the synthesis, and the window under which they overlap.
#pragma once

#include "mbe_synthesis.h"

// ws(n): 1 up to |n| = 55, falling in a straight line, 0 from |n| = 105 on; ws(n) + ws(n - 160) = 1 between.
constexpr float synthesis_window(int n) {
    const int distance = n < 0 ? -n : n;
    if (distance <= 55) return 1.0F;
    return distance < 105 ? static_cast<float>((105 - distance) * 0.02) : 0.0F;
}

namespace ARITHMETIC {

// What becomes of the phases from one frame to the next.
struct PhaseStep {
    std::uint32_t turn;                   // by which the fundamental's phase moved on between the two middles
    std::uint32_t phase[harmonic_slots];  // phi at this frame's middle
};

// Writes the voiced part to `samples`.
void voiced_synthesis(const MbeSynthesis& synthesis, const Harmonics& harmonics, const PhaseStep& step, float* samples);

// Adds the unvoiced part to `samples` and keeps this frame's share for the next frame.
void unvoiced_synthesis(MbeSynthesis& synthesis, const Harmonics& harmonics, float* samples);

}  // namespace ARITHMETIC
