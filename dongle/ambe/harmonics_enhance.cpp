// SPDX-License-Identifier: MIT
// Spectral amplitude enhancement, growth limit and adaptive smoothing of one frame's harmonics.
#include "ambe/harmonics_enhance.h"

#include "constant_math.h"
#include "lanes/lanes.h"
#include "lanes/version_functions.h"

namespace DECODER_VERSION {
namespace {

constexpr float lowest_factor = 0.5F;
constexpr float highest_factor = 1.2F;
constexpr float tilt = 0.4F;  // log2 a cycle per sample: 1.2 dB at 4 kHz, which the synthesis loses there
constexpr float amplitude_limit = 40960.0F;

constexpr float clean_error_rate = 0.005F;  // up to here a frame may grow as it likes

constexpr float largest_growth = 2.0F;  // of the energy
constexpr float peak_memory = 0.985F;
constexpr float peak_floor = 100000.0F;

constexpr float mean_memory = 0.95F;
constexpr float mean_floor = 10000.0F;
constexpr int clean_errors = 4;              // with no more errors in a clean frame, nothing is smoothed
constexpr float noisy_error_rate = 0.0125F;  // beyond, the threshold falls no more

struct Energy {
    float total;   // R0, sum of M^2
    float cosine;  // R1, sum of M^2 cos(omega 0 l)
    float model;   // E, sum of M^2 with unvoiced magnitudes brought to those of voiced harmonics of the same power
};

// Fills `cosines` with the cosines of harmonic times fundamental, which the weights need again.
Energy energy_of(const Harmonics& harmonics, float* cosines) {
    const float omega = static_cast<float>(2 * constant_pi * 0x1p-32) * static_cast<float>(harmonics.fundamental);
    const Floats unvoiced = splat(omega / (noise_density * noise_density));
    Floats total{};
    Floats weighted{};
    Floats model{};
    Words phase = numbered_multiples(harmonics.fundamental);
    for (int i = 0; i < harmonics.count; i += lane_count) {
        const Floats magnitude = load(harmonics.magnitude + i);
        const Floats square = magnitude * magnitude;
        const Floats c = cosine(phase);
        store(cosines + i, c);
        total += square;
        weighted += square * c;
        model += square * select(load(harmonics.voiced + i), splat(1.0F), unvoiced);
        phase += splat(lane_count * harmonics.fundamental);
    }
    return {sum(total), sum(weighted), sum(model)};
}

// Multiplies the first `count` magnitudes, and zeros past them, by `factor`.
void scale(Harmonics& harmonics, float factor) {
    for (int i = 0; i < harmonics.count; i += lane_count)
        store(harmonics.magnitude + i, factor * load(harmonics.magnitude + i));
}

// W = sqrt(M) (0.96 pi (R0^2 + R1^2 - 2 R0 R1 cos) / (omega R0 (R0^2 - R1^2)))^(1/4), its fourth root within bounds.
// Written with r = R1 / R0, so that nothing overflows:
// W^4 = M^2 / R0 (1 + r^2 - 2 r cos) 0.96 pi / (omega (1 - r^2)).
Floats weights(Floats magnitude, Floats cosines, float r, float factor) {
    const Floats power = magnitude * magnitude * factor * ((1.0F + r * r) - (2.0F * r) * cosines);
    const Floats sixteenth = sqrt(sqrt(sqrt(sqrt(power))));
    return min(max(sixteenth, splat(lowest_factor)), splat(highest_factor));
}

// Multiplies harmonic l by factor 2^(tilt l f0).
void scale_and_tilt(Harmonics& harmonics, float factor) {
    const float slope = tilt * 0x1p-32F * static_cast<float>(harmonics.fundamental);
    for (int i = 0; i < harmonics.count; i += lane_count) {
        const Floats raised = power_of_two(slope * (lane_numbers + static_cast<float>(i + 1)));
        store(harmonics.magnitude + i, factor * load(harmonics.magnitude + i) * raised);
    }
}

void enhance(Harmonics& harmonics, const Energy& energy, const float* cosines) {
    const float r = energy.cosine / energy.total;
    const float rest = (energy.total - energy.cosine) / energy.total * (1.0F + r);  // 1 - r^2, without its cancellation
    if (!(energy.total > 0) || !(rest > 0)) return;

    // 0.96 pi / omega 0 = 0.48 / fundamental in turns
    const float factor = 0.48F / (static_cast<float>(harmonics.fundamental) * 0x1p-32F) / rest / energy.total;
    const int unchanged = harmonics.count / 8;  // harmonics up to L / 8 keep their magnitude
    Floats total{};
    for (int i = 0; i < harmonics.count; i += lane_count) {
        const Floats magnitude = load(harmonics.magnitude + i);
        const Floats weight = weights(magnitude, load(cosines + i), r, factor);
        const Floats enhanced = magnitude * select(mask_below(i, unchanged), splat(1.0F), weight);
        store(harmonics.magnitude + i, enhanced);
        total += enhanced * enhanced;
    }
    scale_and_tilt(harmonics, __builtin_sqrtf(energy.total / sum(total)));
}

// A damaged frame can be far too loud: by this factor it is brought to the largest energy that may follow `peak`.
float growth_factor(float& peak, float energy, float error_rate) {
    const float most = largest_growth * peak;
    const bool grows_too_much = error_rate > clean_error_rate && energy > most;
    const float limited = grows_too_much ? most : energy;
    const float fallen = peak_memory * peak;
    peak = limited > fallen ? limited : fallen;
    if (peak < peak_floor) peak = peak_floor;
    return grows_too_much ? __builtin_sqrtf(most / energy) : 1.0F;
}

// The magnitude above which a harmonic of a damaged frame is taken as voiced.
float voicing_threshold(float energy, float error_rate) {
    const float fourth = __builtin_sqrtf(__builtin_sqrtf(energy));
    const float power = fourth * __builtin_sqrtf(fourth);  // energy^0.375
    if (error_rate > noisy_error_rate) return 1.414F * power;
    constexpr float rate_factor = 277.26F * 1.44269504F;  // exp(x) = 2^(x log2 e)
    return 45.255F * power * power_of_two(splat(-rate_factor * error_rate))[0];
}

void voice_above(Harmonics& harmonics, float threshold) {
    for (int i = 0; i < harmonics.count; i += lane_count) {
        const Words loud = greater(load(harmonics.magnitude + i), splat(threshold));
        store(harmonics.voiced + i, load(harmonics.voiced + i) | loud);
    }
}

void limit_amplitude(Harmonics& harmonics) {
    Floats total{};
    for (int i = 0; i < harmonics.count; i += lane_count) total += load(harmonics.magnitude + i);
    const float amplitude = sum(total);
    if (amplitude > amplitude_limit) scale(harmonics, amplitude_limit / amplitude);
}

}  // namespace

void harmonics_enhance(Harmonics& harmonics, RunningEnergy& energy, ChannelQuality quality) {
    float cosines[harmonic_slots];
    const Energy before = energy_of(harmonics, cosines);
    enhance(harmonics, before, cosines);

    const float growth = growth_factor(energy.peak, before.model, quality.error_rate);
    if (growth < 1.0F) scale(harmonics, growth);

    const float mean = mean_memory * energy.mean + (1.0F - mean_memory) * (growth * growth * before.total);
    energy.mean = mean > mean_floor ? mean : mean_floor;
    if (quality.error_rate > clean_error_rate || quality.errors > clean_errors)
        voice_above(harmonics, voicing_threshold(energy.mean, quality.error_rate));
    limit_amplitude(harmonics);
}

}  // namespace DECODER_VERSION
