// SPDX-License-Identifier: MIT
// The row of this version of the arithmetic.
#include "arithmetic.h"

#include "pcm_output.h"

#define NAME_OF(version) #version
#define QUOTED(version) NAME_OF(version)

namespace ARITHMETIC {

const Arithmetic arithmetic = {
    QUOTED(ARITHMETIC), ambe_model_decode, harmonics_enhance, mbe_synthesis_start, mbe_synthesize,
    ambe_tone_samples,  pcm_output,        transform_forward, transform_back,
};

}  // namespace ARITHMETIC
