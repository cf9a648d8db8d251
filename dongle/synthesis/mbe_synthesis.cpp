// SPDX-License-Identifier: MIT
// Multi-band excitation synthesis: phases, and how much of a harmonic is noise.
#include "synthesis/mbe_synthesis.h"

#include "lanes/lanes.h"
#include "lanes/version_functions.h"
#include "synthesis/noise.h"

namespace DECODER_VERSION {
namespace {

constexpr int start_harmonics = 14;
constexpr std::uint32_t start_fundamental = phase_of_turns(1.0 / 32);

constexpr float root_of_two_pi = 2.50662827F;

// Divided by sqrt(f0), f0 in cycles per sample: the density of noise that is as strong as a voiced magnitude of 1.
constexpr float noise_per_magnitude = noise_density / root_of_two_pi;

// The share of noise in voiced harmonics grows with their frequency, which is in cycles per sample here.
constexpr float noise_share_begins = 500.0F / 8000.0F;
constexpr float noise_share_width = 2000.0F / 8000.0F;
constexpr float largest_noise_share = 0.25F;

int unvoiced_count(const Harmonics& harmonics) {
    int voiced = 0;
    for (int i = 0; i < harmonics.count; i++) voiced += static_cast<int>(harmonics.voiced[i] & 1U);
    return harmonics.count - voiced;
}

// `phase`, taken as signed, times `factor`, which is from 0 to 1. The upper 24 bits of it are enough for noise.
Words scaled_phase(Words phase, float factor) {
    const Floats upper = signed_floats(phase & ~0xFFU) * 0x1p-8F;
    return whole_numbers(upper * (factor * 0x1p8F));
}

// 32 x^2 turns for a frequency of x cycles per sample: high harmonics come up to 4 ms earlier than low ones, as they do
// in a throat and in a room. Without it all harmonics would peak together.
Words dispersion(Words frequency) {
    const Floats x = signed_floats(frequency) * 0x1p-32F;
    return whole_numbers(x * x * (32.0F * 0x1p24F)) << 8;
}

// psi (track) is psi(0) = psi(-1) + l N / 2 (omega(-1) + omega(0)); phi (phase) = psi + dispersion. Harmonics above the
// lowest quarter also get a random offset, in proportion to the unvoiced fraction.
void advance_phases(MbeSynthesis& synthesis, const Harmonics& harmonics, std::uint32_t* phase) {
    std::uint32_t scatter[max_harmonics];
    noise_words(synthesis.noise, scatter, max_harmonics);

    const std::uint32_t turn = (synthesis.before.fundamental + harmonics.fundamental) * (frame_samples / 2);
    const int coherent = harmonics.count / 4;
    const float unvoiced_fraction = static_cast<float>(unvoiced_count(harmonics)) / static_cast<float>(harmonics.count);
    Words travelled = numbered_multiples(turn);
    Words frequency = numbered_multiples(harmonics.fundamental);
    for (int i = 0; i < max_harmonics; i += lane_count) {
        const Words track = load(synthesis.track + i) + travelled;
        store(synthesis.track + i, track);
        const Words scattered = ~mask_below(i, coherent) & scaled_phase(load(scatter + i), unvoiced_fraction);
        store(phase + i, track + dispersion(frequency) + scattered);
        travelled += splat(lane_count * turn);
        frequency += splat(lane_count * harmonics.fundamental);
    }
    store(phase + max_harmonics, splat(0U));
}

// A voiced harmonic is a sinusoid, magnitude sqrt(1 - q^2) M, plus noise, q M; the noise share q grows with frequency.
void split_magnitudes(const Harmonics& harmonics, VoicedHarmonics& voiced_part, UnvoicedHarmonics& noise_part) {
    const float to_density =
        noise_per_magnitude / __builtin_sqrtf(static_cast<float>(harmonics.fundamental) * 0x1p-32F);
    Words frequency = numbered_multiples(harmonics.fundamental);
    __builtin_memset(voiced_part.amplitude, 0, sizeof voiced_part.amplitude);
    for (int i = 0; i < harmonics.count; i += lane_count) {
        const Floats magnitude = load(harmonics.magnitude + i);
        const Words voiced = load(harmonics.voiced + i);
        const Floats x =
            (signed_floats(frequency) * 0x1p-32F - noise_share_begins) * (largest_noise_share / noise_share_width);
        const Floats q = min(max(x, Floats{}), splat(largest_noise_share));
        store(voiced_part.amplitude + i, masked(voiced, 2.0F * magnitude * sqrt(1.0F - q * q)));
        store(noise_part.magnitude + i, magnitude * select(voiced, to_density * q, splat(1.0F)));
        frequency += splat(lane_count * harmonics.fundamental);
    }
}

}  // namespace

void mbe_synthesis_start(MbeSynthesis& synthesis) {
    __builtin_memset(&synthesis, 0, sizeof synthesis);
    synthesis.before.fundamental = start_fundamental;
    synthesis.before.count = start_harmonics;
    synthesis.noise = noise_start;
    unvoiced_start(synthesis.blocks, synthesis.noise);
}

// The number of noise values drawn is the same in every frame: an error early in a recording does not change the noise
// of what follows.
void mbe_synthesize(MbeSynthesis& synthesis, const Harmonics& harmonics, SpeechBlock& samples) {
    VoicedHarmonics voiced;
    UnvoicedHarmonics noise;
    voiced.fundamental = noise.fundamental = harmonics.fundamental;
    voiced.count = noise.count = harmonics.count;
    advance_phases(synthesis, harmonics, voiced.phase);
    split_magnitudes(harmonics, voiced, noise);

    unvoiced_synthesis(synthesis.blocks, noise, synthesis.noise, samples);
    voiced_synthesis(synthesis.before, voiced, samples);
    synthesis.before = voiced;
}

}  // namespace DECODER_VERSION
