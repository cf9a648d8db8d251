// SPDX-License-Identifier: MIT
// The row of one version of the decoder.
#include "lanes/version_functions.h"

#define NAME_OF(version) #version
#define QUOTED(version) NAME_OF(version)

namespace DECODER_VERSION {

extern const DecoderVersion decoder_version = {
    QUOTED(DECODER_VERSION),
    ambe_model_decode,
    ambe_model_repeat_shape,
    harmonics_enhance,
    mbe_synthesis_start,
    mbe_synthesize,
    voiced_synthesis,
    add_oscillators,
    transform,
    noise_words,
    add_tone,
    pcm_output,
};

}  // namespace DECODER_VERSION
