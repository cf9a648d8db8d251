// SPDX-License-Identifier: MIT
// From the decoded model to what is synthesised (`harmonics_enhance`, declared in lanes/version_functions.h): spectral
// amplitude enhancement, a limit to the growth of damaged frames, adaptive smoothing.
//
// Enhancement and smoothing are those of the TIA-102.BABA vocoder description, but the weights of the enhancement are
// taken to the fourth root: in every measure of speech that is better.
#pragma once

#include "speech_model.h"

// How damaged the frame and its surroundings are.
struct ChannelQuality {
    float error_rate;  // ER, after this frame
    int errors;        // eT, corrected in this frame
};

// What is remembered of the energy of the models so far.
struct RunningEnergy {
    float mean;  // S, of the magnitudes
    float peak;  // Q, of the magnitudes with unvoiced ones counted like voiced ones of the same power; falls slowly
};

constexpr RunningEnergy running_energy_start = {75000.0F, 4000000.0F};
