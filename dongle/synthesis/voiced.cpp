// SPDX-License-Identifier: MIT
// The voiced harmonics of a frame.
//
// A harmonic that is voiced in both frames of nearly one pitch is one sinusoid, its amplitude moving geometrically; the
// others overlap (R. J. McAulay, T. F. Quatieri, "Speech analysis/synthesis based on a sinusoidal representation", IEEE
// Trans. ASSP 34, 1986, has both ways).
#include "synthesis/voiced.h"

#include "lanes/lanes.h"
#include "lanes/version_functions.h"
#include "synthesis/oscillators.h"

namespace DECODER_VERSION {
namespace {

constexpr int curved_harmonics = 7;        // of smooth harmonics these follow the pitch along a parabola, others a line
constexpr std::uint32_t smooth_share = 5;  // harmonics are smooth while the pitch changes by less than a fifth
constexpr int blocks = frame_samples / lane_count;
constexpr int overlap_blocks = 14;  // 112 samples, of which the window lets 105 through
constexpr int overlap_samples = overlap_blocks * lane_count;
constexpr int rising_start = frame_samples - overlap_samples;  // where this frame's own sinusoids begin

// How the smooth harmonics get from frame to frame.
struct alignas(32) Motion {
    std::uint32_t step[harmonic_slots];  // from sample to sample, on average
    float growth_log2[harmonic_slots];   // of the amplitude, from sample to sample
    float growth[harmonic_slots];
};

// The mean of both frequencies, and what is missing to arrive at the phase that this frame has, by half a turn at most.
Words mean_step(const VoicedHarmonics& before, const VoicedHarmonics& now, int i, Words harmonic) {
    const std::uint32_t sum = before.fundamental + now.fundamental;
    const Words travelled = harmonic * splat(sum * (frame_samples / 2));
    const Words missing = load(now.phase + i) - load(before.phase + i) - travelled;
    const Floats share = signed_floats(missing) * (1.0F / frame_samples);
    return harmonic * splat(sum / 2) + whole_numbers(share);
}

void plan_motion(const VoicedHarmonics& before, const VoicedHarmonics& now, int count, Motion& motion) {
    Words harmonic = numbered_multiples(1);
    for (int i = 0; i < count; i += lane_count) {
        const Floats from = load(before.amplitude + i);
        const Floats to = load(now.amplitude + i);
        const Words both = greater(from, Floats{}) & greater(to, Floats{});
        const Floats ratio = select(both, to, splat(1.0F)) / select(both, from, splat(1.0F));
        const Floats growth_log2 = log2(ratio) * (1.0F / frame_samples);
        store(motion.growth_log2 + i, growth_log2);
        store(motion.growth + i, power_of_two(growth_log2));
        store(motion.step + i, mean_step(before, now, i, harmonic));
        harmonic += splat(static_cast<std::uint32_t>(lane_count));
    }
}

// How a phase moves along a parabola to where this frame has it: phase(n) = phase(0) + n first + n (n - 1) / 2 growth.
struct Glide {
    std::uint32_t first;   // step from sample 0 to sample 1
    std::uint32_t growth;  // of the step, from sample to sample
};

// The steps begin at the old frequency and end at the new one. What is missing to arrive, by half a turn at most, and
// what rounding has lost, is spread over all of them.
Glide glide_of(const VoicedHarmonics& before, const VoicedHarmonics& now, int i) {
    constexpr std::int32_t n = frame_samples;
    const auto harmonic = static_cast<std::uint32_t>(i + 1);
    const auto bend = static_cast<std::int32_t>((now.fundamental - before.fundamental) * harmonic);
    const auto growth = static_cast<std::uint32_t>(bend / n);
    const std::uint32_t first = before.fundamental * harmonic + static_cast<std::uint32_t>(bend / (2 * n));

    const std::uint32_t reached = first * frame_samples + growth * (n * (n - 1) / 2);
    const auto missing = static_cast<std::int32_t>(now.phase[i] - before.phase[i] - reached);
    return {first + static_cast<std::uint32_t>(missing / n), growth};
}

void add_curved(const VoicedHarmonics& before, const VoicedHarmonics& now, const Motion& motion, int i,
                SpeechBlock& samples) {
    constexpr std::uint32_t lanes = lane_count;
    const Glide glide = glide_of(before, now, i);
    const Words number = numbered_multiples(1) - splat(1U);
    Words phase = splat(before.phase[i]) + number * splat(glide.first) +
                  ((number * (number - splat(1U))) >> 1) * splat(glide.growth);
    Words advance = splat(lanes * glide.first + lanes * (lanes - 1) / 2 * glide.growth) +
                    number * splat(lanes * glide.growth);  // phase(n + 8) - phase(n)
    const Words advance_growth = splat(lanes * lanes * glide.growth);

    const Floats growth = power_of_two(motion.growth_log2[i] * lane_numbers);
    const Floats block_growth = splat(growth[4] * growth[4]);
    Floats amplitude = before.amplitude[i] * growth;
    for (int block = 0; block < blocks; block++) {
        float* at = samples + lane_count * block;
        store(at, load(at) + amplitude * cosine(phase));
        phase += advance;
        advance += advance_growth;
        amplitude = amplitude * block_growth;
    }
}

inline void add(Oscillators& oscillators, std::uint32_t phase, std::uint32_t step, float amplitude, float growth) {
    const int i = oscillators.count++;
    oscillators.phase[i] = phase;
    oscillators.step[i] = step;
    oscillators.amplitude[i] = amplitude;
    oscillators.growth[i] = growth;
}

// |omega(0) - omega(-1)| < omega(0) / 5
bool pitch_is_steady(std::uint32_t before, std::uint32_t now) {
    const std::uint32_t difference = now > before ? now - before : before - now;
    return difference * smooth_share < now;
}

// The windows of the two sets that overlap, by sample.
struct OverlapWindows {
    float falling[overlap_samples];
    float rising[overlap_samples];
};

constexpr OverlapWindows make_windows() {
    OverlapWindows windows{};
    for (int n = 0; n < overlap_samples; n++) {
        windows.falling[n] = synthesis_window(n);
        windows.rising[n] = synthesis_window(n - overlap_samples);
    }
    return windows;
}

alignas(32) constexpr OverlapWindows windows = make_windows();

void add_windowed(Oscillators& oscillators, const float* window, float* samples) {
    if (oscillators.count == 0) return;
    alignas(32) float sum[overlap_samples] = {};
    add_oscillators(oscillators, overlap_blocks, sum);
    for (int n = 0; n < overlap_samples; n += lane_count)
        store(samples + n, load(samples + n) + load(window + n) * load(sum + n));
}

// The harmonics of two frames, by how they get from one to the other.
struct Sets {
    Oscillators smooth, falling, rising;
};

void add_overlapping(const VoicedHarmonics& before, const VoicedHarmonics& now, int i, Sets& sets) {
    const auto harmonic = static_cast<std::uint32_t>(i + 1);
    if (before.amplitude[i] > 0)
        add(sets.falling, before.phase[i], before.fundamental * harmonic, before.amplitude[i], 1.0F);
    const std::uint32_t step = now.fundamental * harmonic;
    if (now.amplitude[i] > 0) add(sets.rising, now.phase[i] - overlap_samples * step, step, now.amplitude[i], 1.0F);
}

}  // namespace

void voiced_synthesis(const VoicedHarmonics& before, const VoicedHarmonics& now, SpeechBlock& samples) {
    const int count = before.count > now.count ? before.count : now.count;
    const bool steady = pitch_is_steady(before.fundamental, now.fundamental);
    const bool curved = before.fundamental != now.fundamental;
    Motion motion;
    if (steady) plan_motion(before, now, count, motion);

    Sets sets;
    sets.smooth.count = sets.falling.count = sets.rising.count = 0;
    for (int i = 0; i < count; i++) {
        if (!steady || before.amplitude[i] <= 0 || now.amplitude[i] <= 0)
            add_overlapping(before, now, i, sets);
        else if (curved && i < curved_harmonics)
            add_curved(before, now, motion, i, samples);
        else
            add(sets.smooth, before.phase[i], motion.step[i], before.amplitude[i], motion.growth[i]);
    }
    add_oscillators(sets.smooth, blocks, samples);
    add_windowed(sets.falling, windows.falling, samples);
    add_windowed(sets.rising, windows.rising, samples + rising_start);
}

}  // namespace DECODER_VERSION
