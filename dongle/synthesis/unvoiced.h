// SPDX-License-Identifier: MIT
// The unvoiced harmonics (unvoiced_synthesis): white noise, shaped by a transform.
#pragma once

// gw: with it, voiced and unvoiced harmonics of one log magnitude are equally strong.
constexpr float noise_gain = 146.643269F;
