// SPDX-License-Identifier: MIT
// From the synthesis to 16-bit samples (`pcm_output`, declared in lanes/version_functions.h): a limiter in place of
// clipping.
#pragma once

// The peak that the gain aims at. The first limiter_attack_samples, while the gain falls, may exceed it, up to
// output_limit.
constexpr float limiter_peak = 32000.0F;
constexpr float limiter_recovery = 0.05F;   // of gain a frame
constexpr int limiter_attack_samples = 48;  // 6 ms: how long the gain falls; it rises over a whole frame
constexpr float output_limit = 32767.0F;

struct Limiter {
    float gain = 1.0F;  // at the end of the frame before
};
