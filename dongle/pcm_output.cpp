// SPDX-License-Identifier: MIT
// From the synthesis to 16-bit samples.
#include "pcm_output.h"

#include "lanes.h"
#include "mbe_synthesis.h"

namespace ARITHMETIC {

void pcm_output(const float* speech, const float* tone, std::int16_t* samples) {
    for (int n = 0; n < synthesis_samples; n += lane_count) {
        const Floats exact = output_gain * floats_at(speech + n) + floats_at(tone + n);
        const Floats bounded = greater_of(lesser(exact, splat(output_limit)), splat(-output_limit));
        const Words rounded = whole_numbers(nearest(bounded));
        for (int lane = 0; lane < lane_count; lane++)
            samples[n + lane] = static_cast<std::int16_t>(static_cast<std::int32_t>(rounded[lane]));
    }
}

}  // namespace ARITHMETIC
