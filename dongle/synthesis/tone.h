// SPDX-License-Identifier: MIT
// Tones (`add_tone`, declared in lanes/version_functions.h): one or two sinusoids in place of speech.
#pragma once

#include "speech_model.h"

// Turns times 2^32.
struct ToneLine {
    std::uint32_t phase;
    std::uint32_t step;  // from sample to sample; 0: no line
};

// The tone that sounds; all zero: none.
struct Tone {
    bool sounds;
    float amplitude;  // of each line
    ToneLine first;
    ToneLine second;
};
