// SPDX-License-Identifier: MIT
// From the fields of a frame to its speech model, and from the model to what is synthesised.
//
// J. C. Hardwick and J. S. Lim, "The application of the IMBE speech coder to mobile communications", ICASSP 1991, and
// the TIA-102.BABA vocoder description: pitch, voicing, gain and spectral shape by codebooks and inverse cosine
// transforms, log magnitudes predicted from the frame before, then spectral amplitude enhancement and smoothing.
//
// Each function exists once for each version of the arithmetic (lanes.h); arithmetic.h has them as a row.
#pragma once

#include "ambe_frame.h"
#include "speech_model.h"

#ifndef ARITHMETIC
#define ARITHMETIC baseline
#endif

// What the smoothing of damaged frames goes by.
struct ChannelQuality {
    float error_rate;  // ER, after this frame
    int errors;        // eT, corrected in this frame
};

constexpr float smoothing_energy_start = 75000.0F;

namespace ARITHMETIC {

// Turns `model`, that of the voice or silence frame before, into that of `frame`, a voice or silence frame.
void ambe_model_decode(const AmbeFrame& frame, SpeechModel& model);

// Deepens the valleys between the formants, energy unchanged; in damaged frames makes the loudest harmonics voiced;
// bounds the amplitude. `energy`, S, is the running mean of the energy and moves on by this frame.
void harmonics_enhance(Harmonics& harmonics, float& energy, ChannelQuality quality);

}  // namespace ARITHMETIC
