// SPDX-License-Identifier: MIT
// The decoder's arithmetic, compiled once for every x86-64 and once for AVX2. All versions give the same bytes.
#pragma once

#include "ambe_model.h"
#include "ambe_tone.h"
#include "mbe_synthesis.h"

// One version. What the functions do is said where they are declared.
struct Arithmetic {
    const char* name;
    void (*model_decode)(const AmbeFrame& frame, SpeechModel& model);
    void (*harmonics_enhance)(Harmonics& harmonics, float& energy, ChannelQuality quality);
    void (*synthesis_start)(MbeSynthesis& synthesis);
    void (*synthesize)(MbeSynthesis& synthesis, const Harmonics& harmonics, float* samples);
    void (*tone_samples)(AmbeTone& tone, const AmbeFrame* frame, float* samples);
    void (*pcm_output)(const float* speech, const float* tone, std::int16_t* samples);
    void (*transform_forward)(const float* samples, Spectrum& spectrum);
    void (*transform_back)(const Spectrum& spectrum, float* samples);
};

namespace baseline {
extern const Arithmetic arithmetic;
}
namespace avx2 {
extern const Arithmetic arithmetic;
}
namespace plain {  // plain loops: the reference of the tests, not part of the library
extern const Arithmetic arithmetic;
}

// The fastest version that this processor can run.
const Arithmetic& arithmetic_of_this_processor();
