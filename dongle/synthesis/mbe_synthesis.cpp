// SPDX-License-Identifier: MIT
// Multi-band excitation synthesis: phases, noise and the way from frame to frame.
#include "synthesis/mbe_synthesis.h"

#include "lanes/lanes.h"
#include "lanes/version_functions.h"
#include "synthesis/noise.h"
#include "synthesis/voiced.h"

namespace DECODER_VERSION {
namespace {

constexpr int start_harmonics = 14;
constexpr std::uint32_t start_fundamental = phase_of_turns(1.0 / 32);
constexpr int half_frame = frame_samples / 2;
constexpr int kept_noise = transform_samples - frame_samples;

int unvoiced_count(const Harmonics& harmonics) {
    int voiced = 0;
    for (int i = 0; i < harmonics.count; i++) voiced += static_cast<int>(harmonics.voiced[i] & 1U);
    return harmonics.count - voiced;
}

// x times share, x a signed phase and share from 0 to 1: 24 bits of the phase are enough for noise.
Words share_of(Words phase, float share) {
    const Floats upper = signed_floats(phase & ~0xFFU) * 0x1p-8F;
    return whole_numbers(upper * (share * 0x1p8F));
}

// psi(0) = psi(-1) + l N / 2 (omega(-1) + omega(0)); phi is psi, above the lowest quarter of the harmonics scattered by
// noise: the more of the spectrum is unvoiced, the more.
void advance_phases(MbeSynthesis& synthesis, const Harmonics& harmonics, PhaseStep& step) {
    std::uint32_t scatter[harmonic_slots];
    noise_words(synthesis.noise, scatter, max_harmonics);

    step.turn = (synthesis.before.fundamental + harmonics.fundamental) * half_frame;
    const int coherent = harmonics.count / 4;
    const float share = static_cast<float>(unvoiced_count(harmonics)) / static_cast<float>(harmonics.count);
    Words turn = numbered_multiples(step.turn);
    for (int i = 0; i < max_harmonics; i += lane_count) {
        const Words track = load(synthesis.track + i) + turn;
        store(synthesis.track + i, track);
        store(step.phase + i, track + (~mask_below(i, coherent) & share_of(load(scatter + i), share)));
        turn += splat(lane_count * step.turn);
    }
}

void advance_noise(MbeSynthesis& synthesis) {
    __builtin_memmove(synthesis.noise_block, synthesis.noise_block + frame_samples, kept_noise * sizeof(float));
    noise_samples(synthesis.noise, synthesis.noise_block + kept_noise, frame_samples);
}

}  // namespace

void mbe_synthesis_start(MbeSynthesis& synthesis) {
    __builtin_memset(&synthesis, 0, sizeof synthesis);
    synthesis.before.fundamental = start_fundamental;
    synthesis.before.count = start_harmonics;
    synthesis.noise = noise_start;
    noise_samples(synthesis.noise, synthesis.noise_block, transform_samples);
}

// The number of noise values drawn is the same in every frame: an error early in a recording does not change the noise
// of what follows.
void mbe_synthesize(MbeSynthesis& synthesis, const Harmonics& harmonics, SpeechBlock& samples) {
    PhaseStep step;
    advance_phases(synthesis, harmonics, step);
    voiced_synthesis(synthesis, harmonics, step, samples);
    unvoiced_synthesis(synthesis, harmonics, samples);

    synthesis.before = harmonics;
    __builtin_memcpy(synthesis.phase, step.phase, max_harmonics * sizeof step.phase[0]);
    advance_noise(synthesis);
}

}  // namespace DECODER_VERSION
