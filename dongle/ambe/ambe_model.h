// SPDX-License-Identifier: MIT
// From the fields of a frame to its speech model (`ambe_model_decode`, `ambe_model_repeat_shape`, declared in
// lanes/version_functions.h).
//
// J. C. Hardwick and J. S. Lim, "The application of the IMBE speech coder to mobile communications", ICASSP 1991, and
// the TIA-102.BABA vocoder description: pitch, voicing, gain and spectral shape by codebooks and inverse cosine
// transforms, log magnitudes predicted from the frame before.
#pragma once

#include "ambe/ambe_frame.h"
#include "speech_model.h"
