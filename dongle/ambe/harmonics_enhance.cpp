// SPDX-License-Identifier: MIT
// Spectral amplitude enhancement and adaptive smoothing of one frame's harmonics.
#include "ambe/harmonics_enhance.h"

#include "constant_math.h"
#include "lanes/lanes.h"
#include "lanes/version_functions.h"

namespace DECODER_VERSION {
namespace {

constexpr float lowest_factor = 0.5F;
constexpr float highest_factor = 1.2F;
constexpr float amplitude_limit = 20480.0F;

constexpr float energy_memory = 0.95F;
constexpr float energy_floor = 10000.0F;
constexpr float clean_error_rate = 0.005F;   // up to here, and
constexpr int clean_errors = 4;              // with no more errors in the frame, nothing is smoothed
constexpr float noisy_error_rate = 0.0125F;  // beyond, the threshold falls no more

// R0 and R1, with the cosines of harmonic times fundamental that the weights need again.
struct Energy {
    float total;   // sum of M^2
    float cosine;  // sum of M^2 cos(omega 0 l)
};

Energy energy_of(const Harmonics& harmonics, float* cosines) {
    Floats total{};
    Floats weighted{};
    Words phase = numbered_multiples(harmonics.fundamental);
    for (int i = 0; i < harmonics.count; i += lane_count) {
        const Floats magnitude = load(harmonics.magnitude + i);
        const Floats c = cosine(phase);
        store(cosines + i, c);
        total += magnitude * magnitude;
        weighted += magnitude * magnitude * c;
        phase += splat(lane_count * harmonics.fundamental);
    }
    return {sum(total), sum(weighted)};
}

// Multiplies the first `count` magnitudes, and zeros past them, by `factor`.
void scale(Harmonics& harmonics, float factor) {
    for (int i = 0; i < harmonics.count; i += lane_count)
        store(harmonics.magnitude + i, factor * load(harmonics.magnitude + i));
}

// W = sqrt(M) (0.96 pi (R0^2 + R1^2 - 2 R0 R1 cos) / (omega R0 (R0^2 - R1^2)))^(1/4), within its bounds. Written with
// r = R1 / R0, so that nothing overflows: W^4 = M^2 / R0 (1 + r^2 - 2 r cos) 0.96 pi / (omega (1 - r^2)).
Floats weights(Floats magnitude, Floats cosines, float r, float factor) {
    const Floats power = magnitude * magnitude * factor * ((1.0F + r * r) - (2.0F * r) * cosines);
    return min(max(sqrt(sqrt(power)), splat(lowest_factor)), splat(highest_factor));
}

void enhance(Harmonics& harmonics, const Energy& energy, const float* cosines) {
    const float r = energy.cosine / energy.total;
    const float rest = (energy.total - energy.cosine) / energy.total * (1.0F + r);  // 1 - r^2, without its cancellation
    if (!(energy.total > 0) || !(rest > 0)) return;

    // 0.96 pi / omega 0 = 0.48 / fundamental in turns
    const float factor = 0.48F / (static_cast<float>(harmonics.fundamental) * 0x1p-32F) / rest / energy.total;
    const int unchanged = harmonics.count / 8;  // harmonics up to L / 8 masked their magnitude
    Floats total{};
    for (int i = 0; i < harmonics.count; i += lane_count) {
        const Floats magnitude = load(harmonics.magnitude + i);
        const Floats weight = weights(magnitude, load(cosines + i), r, factor);
        const Floats enhanced = magnitude * select(mask_below(i, unchanged), splat(1.0F), weight);
        store(harmonics.magnitude + i, enhanced);
        total += enhanced * enhanced;
    }
    scale(harmonics, __builtin_sqrtf(energy.total / sum(total)));
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

void harmonics_enhance(Harmonics& harmonics, float& energy, ChannelQuality quality) {
    float cosines[harmonic_slots];
    const Energy before = energy_of(harmonics, cosines);
    enhance(harmonics, before, cosines);

    const float running = energy_memory * energy + (1.0F - energy_memory) * before.total;
    energy = running > energy_floor ? running : energy_floor;
    if (quality.error_rate > clean_error_rate || quality.errors > clean_errors)
        voice_above(harmonics, voicing_threshold(energy, quality.error_rate));
    limit_amplitude(harmonics);
}

}  // namespace DECODER_VERSION
