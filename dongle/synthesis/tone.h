// SPDX-License-Identifier: MIT
// Tones (`add_tone`, declared in lanes/version_functions.h): one or two sinusoids in place of speech.
#pragma once

#include "speech_model.h"

// The tone that sounds; all zero: none.
struct Tone {
    bool sounds;
    float amplitude;         // of each line
    std::uint32_t phase[2];  // turns times 2^32
    std::uint32_t step[2];   // from sample to sample; 0: there is one line only
};
