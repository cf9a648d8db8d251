// SPDX-License-Identifier: MIT
// The voiced harmonics: sinusoids that run smoothly from frame to frame, or overlap under the synthesis window.
#include "synthesis/voiced.h"

#include "lanes/lanes.h"
#include "lanes/version_functions.h"

namespace DECODER_VERSION {
namespace {

constexpr int smooth_harmonics = 7;         // harmonics below the eighth may run smoothly
constexpr std::uint32_t smooth_share = 10;  // and do, while the pitch changes by less than a tenth
constexpr int blocks = frame_samples / lane_count;
constexpr int overlap_blocks = 14;  // 112 samples, of which the window lets 105 through
constexpr int lead = 104;           // samples before its middle at which a frame's own sinusoids begin to sound
constexpr int lead_block = (frame_samples - lead) / lane_count;
static_assert(blocks - lead_block < overlap_blocks && lead_block * lane_count == frame_samples - lead);

// Sinusoids of constant frequency and amplitude. Room for a pair more than there can be.
struct alignas(32) Oscillators {
    std::uint32_t phase[harmonic_slots];  // at the first sample
    std::uint32_t step[harmonic_slots];   // from sample to sample
    float amplitude[harmonic_slots];
    int count;
};

inline void add(Oscillators& oscillators, std::uint32_t phase, std::uint32_t step, float amplitude) {
    const int i = oscillators.count++;
    oscillators.phase[i] = phase;
    oscillators.step[i] = step;
    oscillators.amplitude[i] = amplitude;
}

// A sinusoid, eight samples at a time: y(b+1) = 2 cos(8 w) y(b) - y(b-1).
struct Recurrence {
    Floats last, now;
    float factor;  // 2 cos(8 w)
};

inline Recurrence begin(const Oscillators& oscillators, const float* factors, int i) {
    const std::uint32_t step = oscillators.step[i];
    const Words first = numbered_multiples(step) + splat(oscillators.phase[i] - step);
    const Floats now = oscillators.amplitude[i] * cosine(first);
    const Floats next = oscillators.amplitude[i] * cosine(first + splat(lane_count * step));
    return {now, next, factors[i]};
}

inline Floats next_eight(Recurrence& r) {
    const Floats out = r.last;
    r.last = r.now;
    r.now = r.factor * r.now - out;
    return out;
}

void recurrence_factors(const Oscillators& oscillators, float* factors) {
    for (int i = 0; i < oscillators.count; i += lane_count)
        store(factors + i, 2.0F * cosine(load(oscillators.step + i) << 3));
}

// The sum of all oscillators, two at a time; the one that makes the number even is silent.
void sum_oscillators(Oscillators& oscillators, int block_count, float* samples) {
    float factors[harmonic_slots];
    if (oscillators.count % 2 != 0) add(oscillators, 0, 0, 0.0F);
    recurrence_factors(oscillators, factors);
    for (int block = 0; block < block_count; block++) store(samples + lane_count * block, Floats{});
    for (int i = 0; i < oscillators.count; i += 2) {
        Recurrence a = begin(oscillators, factors, i);
        Recurrence b = begin(oscillators, factors, i + 1);
        for (int block = 0; block < block_count; block++) {
            float* at = samples + lane_count * block;
            store(at, load(at) + (next_eight(a) + next_eight(b)));
        }
    }
}

// How a phase moves along a parabola to where this frame has it: phase(n) = phase(0) + n first + n (n - 1) / 2 growth.
struct Glide {
    std::uint32_t first;   // step from sample 0 to sample 1
    std::uint32_t growth;  // of the step, from sample to sample
};

// The steps begin at the old frequency and end at the new one. What is missing to arrive, by half a turn at most, and
// what rounding has lost, is spread over all of them.
Glide glide_of(const MbeSynthesis& synthesis, const Harmonics& harmonics, const PhaseStep& step, int i) {
    constexpr std::int32_t n = frame_samples;
    const auto harmonic = static_cast<std::uint32_t>(i + 1);
    const auto bend = static_cast<std::int32_t>((harmonics.fundamental - synthesis.before.fundamental) * harmonic);
    const auto growth = static_cast<std::uint32_t>(bend / n);
    const std::uint32_t first = synthesis.before.fundamental * harmonic + static_cast<std::uint32_t>(bend / (2 * n));

    const std::uint32_t reached = first * frame_samples + growth * (n * (n - 1) / 2);
    const auto missing = static_cast<std::int32_t>(step.phase[i] - synthesis.phase[i] - reached);
    return {first + static_cast<std::uint32_t>(missing / n), growth};
}

// A sinusoid whose amplitude moves in a straight line, and whose phase along a parabola, to where this frame has them.
void add_smooth(const MbeSynthesis& synthesis, const Harmonics& harmonics, const PhaseStep& step, int i,
                float* samples) {
    constexpr std::uint32_t lanes = lane_count;
    const Glide glide = glide_of(synthesis, harmonics, step, i);
    const Words number = numbered_multiples(1) - splat(1U);
    Words phase = splat(synthesis.phase[i]) + number * splat(glide.first) +
                  ((number * (number - splat(1U))) >> 1) * splat(glide.growth);
    Words advance = splat(lanes * glide.first + lanes * (lanes - 1) / 2 * glide.growth) +
                    number * splat(lanes * glide.growth);  // phase(n + 8) - phase(n)
    const Words advance_growth = splat(lanes * lanes * glide.growth);

    const float from = 2.0F * synthesis.before.magnitude[i];
    const float slope = (2.0F * harmonics.magnitude[i] - from) / static_cast<float>(frame_samples);
    Floats amplitude = from + slope * lane_numbers;
    for (int block = 0; block < blocks; block++) {
        float* at = samples + lane_count * block;
        store(at, load(at) + amplitude * cosine(phase));
        phase += advance;
        advance += advance_growth;
        amplitude += splat(lane_count * slope);
    }
}

// |omega(0) - omega(-1)| < omega(0) / 10
bool pitch_is_steady(std::uint32_t before, std::uint32_t now) {
    const std::uint32_t difference = now > before ? now - before : before - now;
    return difference * smooth_share < now;
}

// The windows of the two sets, by sample.
struct OverlapWindows {
    float before[overlap_blocks * lane_count];
    float now[(blocks - lead_block) * lane_count];
};

constexpr OverlapWindows make_windows() {
    OverlapWindows windows{};
    for (int n = 0; n < overlap_blocks * lane_count; n++) windows.before[n] = synthesis_window(n);
    for (int n = 0; n < lead; n++) windows.now[n] = synthesis_window(n - lead);
    return windows;
}

constexpr OverlapWindows windows = make_windows();

void add_windowed(const float* sum, const float* window, int block_count, float* samples) {
    for (int n = 0; n < block_count * lane_count; n += lane_count)
        store(samples + n, load(samples + n) + load(window + n) * load(sum + n));
}

}  // namespace

void voiced_synthesis(const MbeSynthesis& synthesis, const Harmonics& harmonics, const PhaseStep& step,
                      SpeechBlock& samples) {
    for (int n = 0; n < frame_samples; n += lane_count) store(samples + n, Floats{});

    const Harmonics& before = synthesis.before;
    const bool steady = pitch_is_steady(before.fundamental, harmonics.fundamental);
    const int most = before.count > harmonics.count ? before.count : harmonics.count;
    Oscillators fading;
    Oscillators rising;
    fading.count = 0;
    rising.count = 0;
    for (int i = 0; i < most; i++) {
        const bool was = before.voiced[i] != 0;
        const bool is = harmonics.voiced[i] != 0;
        if (was && is && steady && i < smooth_harmonics) {
            add_smooth(synthesis, harmonics, step, i, samples);
            continue;
        }
        const auto harmonic = static_cast<std::uint32_t>(i + 1);
        const std::uint32_t frequency = harmonics.fundamental * harmonic;
        if (was) add(fading, synthesis.phase[i], before.fundamental * harmonic, 2.0F * before.magnitude[i]);
        if (is) add(rising, step.phase[i] - lead * frequency, frequency, 2.0F * harmonics.magnitude[i]);
    }

    float sum[overlap_blocks * lane_count];
    sum_oscillators(fading, overlap_blocks, sum);
    add_windowed(sum, windows.before, overlap_blocks, samples);
    sum_oscillators(rising, blocks - lead_block, sum);
    add_windowed(sum, windows.now, blocks - lead_block, samples + lead_block * lane_count);
}

}  // namespace DECODER_VERSION
