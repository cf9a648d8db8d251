// SPDX-License-Identifier: MIT
// From the decoded model to what is synthesised (harmonics_enhance): spectral amplitude enhancement and adaptive
// smoothing, as the TIA-102.BABA vocoder description has them.
#pragma once

#include "speech_model.h"

// What the smoothing of damaged frames goes by.
struct ChannelQuality {
    float error_rate;  // ER, after this frame
    int errors;        // eT, corrected in this frame
};

constexpr float smoothing_energy_start = 75000.0F;
