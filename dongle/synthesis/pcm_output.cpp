// SPDX-License-Identifier: MIT
// From the synthesis to 16-bit samples.
#include "synthesis/pcm_output.h"

#include "lanes/lanes.h"
#include "lanes/version_functions.h"

namespace DECODER_VERSION {
namespace {

// How far the gain has moved, by sample.
struct Ramps {
    float falling[frame_samples];
    float rising[frame_samples];
};

constexpr Ramps make_ramps() {
    Ramps ramps{};
    for (int n = 0; n < frame_samples; n++) {
        const int attacked = n < limiter_attack_samples ? n : limiter_attack_samples;
        ramps.falling[n] = static_cast<float>(attacked) / static_cast<float>(limiter_attack_samples);
        ramps.rising[n] = static_cast<float>(n) / static_cast<float>(frame_samples);
    }
    return ramps;
}

alignas(32) constexpr Ramps ramps = make_ramps();

float peak_of(const SpeechBlock& samples) {
    Floats peaks{};
    for (int n = 0; n < frame_samples; n += lane_count) peaks = max(magnitude_of(load(samples + n)), peaks);
    float peak = 0;
    for (int lane = 0; lane < lane_count; lane++) peak = peaks[lane] > peak ? peaks[lane] : peak;
    return peak;
}

float next_gain(float before, float peak) {
    const float needed = peak > limiter_peak ? limiter_peak / peak : 1.0F;
    const float recovered = before + limiter_recovery;
    return needed < recovered ? needed : recovered;
}

}  // namespace

void pcm_output(Limiter& limiter, const SpeechBlock& speech, PcmSamples& samples) {
    const float before = limiter.gain;
    limiter.gain = next_gain(before, peak_of(speech));
    const float change = limiter.gain - before;
    const float* ramp = change < 0 ? ramps.falling : ramps.rising;
    for (int n = 0; n < frame_samples; n += lane_count) {
        const Floats exact = (before + change * load(ramp + n)) * load(speech + n);
        const Floats bounded = max(min(exact, splat(output_limit)), splat(-output_limit));
        store(samples + n, whole_numbers(nearest(bounded)));
    }
}

}  // namespace DECODER_VERSION
