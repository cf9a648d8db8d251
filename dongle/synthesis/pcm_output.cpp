// SPDX-License-Identifier: MIT
// From the synthesis to 16-bit samples.
#include "synthesis/pcm_output.h"

#include "lanes/lanes.h"
#include "lanes/version_functions.h"

namespace DECODER_VERSION {

void pcm_output(const SpeechBlock& speech, const SpeechBlock& tone, PcmBlock& samples) {
    for (int n = 0; n < frame_samples; n += lane_count) {
        const Floats exact = output_gain * load(speech + n) + load(tone + n);
        const Floats bounded = max(min(exact, splat(output_limit)), splat(-output_limit));
        const Words rounded = whole_numbers(nearest(bounded));
        for (int lane = 0; lane < lane_count; lane++)
            samples[n + lane] = static_cast<std::int16_t>(static_cast<std::int32_t>(rounded[lane]));
    }
}

}  // namespace DECODER_VERSION
