// SPDX-License-Identifier: MIT
#include "plain_synthesis.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <complex>
#include <cstdint>
#include <numbers>

namespace {

constexpr int block_samples = 160;
constexpr int transform_size = 256;
constexpr int half_transform = transform_size / 2;
constexpr int harmonic_limit = 56;
constexpr double noise_gain = 146.643269;
constexpr double output_gain = 2.0;
constexpr double pi = std::numbers::pi;

// What one frame gives to the overlap with the next.
struct Voice {
    double w0 = 2 * pi / 32;
    int harmonics = 14;
    std::array<double, harmonic_limit + 1> magnitude{};
    std::array<bool, harmonic_limit + 1> voiced{};
    std::array<double, harmonic_limit + 1> psi{};
    std::array<double, harmonic_limit + 1> phi{};
    std::array<double, transform_size> noise{};  // index n + 128
};

struct Synthesis {
    SynthesisFaults faults;
    std::uint32_t generator = 0x2545F491;
    std::array<double, transform_size> white{};
    Voice last;
};

// Linear congruential generator (Knuth, "The Art of Computer Programming", volume 2, 3.3.4), uniform in [-1, 1).
double draw(Synthesis& synthesis) {
    synthesis.generator = 1664525u * synthesis.generator + 1013904223u;
    return static_cast<std::int32_t>(synthesis.generator) / 2147483648.0;
}

double window(const SynthesisFaults& faults, int n) {
    const int distance = std::abs(n);
    if (distance <= faults.window_flat_samples) return 1;
    if (distance >= faults.window_end_samples) return 0;
    return double(faults.window_end_samples - distance) / (faults.window_end_samples - faults.window_flat_samples);
}

Voice voice_of(const GoldenFrame& frame, const Voice& last) {
    Voice voice;
    const bool sounds = !frame.magnitude.empty();
    voice.w0 = sounds ? 2 * pi * frame.fundamental : last.w0;
    voice.harmonics = sounds ? static_cast<int>(frame.magnitude.size()) : last.harmonics;
    for (std::size_t l = 1; l <= frame.magnitude.size(); ++l) {
        voice.magnitude[l] = frame.magnitude[l - 1];
        voice.voiced[l] = frame.voiced[l - 1];
    }
    return voice;
}

void run_phases(Synthesis& synthesis, Voice& voice) {
    int unvoiced = 0;
    for (int l = 1; l <= voice.harmonics; ++l) unvoiced += voice.voiced[std::size_t(l)] ? 0 : 1;
    for (int l = 1; l <= harmonic_limit; ++l) {
        const std::size_t i = std::size_t(l);
        const double rho = pi * draw(synthesis);
        voice.psi[i] = synthesis.last.psi[i] + (synthesis.last.w0 + voice.w0) * l * block_samples / 2;
        voice.psi[i] = std::remainder(voice.psi[i], 2 * pi);
        voice.phi[i] = voice.psi[i] + (l > voice.harmonics / 4 ? rho * unvoiced / voice.harmonics : 0.0);
    }
}

std::array<std::complex<double>, transform_size> make_roots() {
    std::array<std::complex<double>, transform_size> roots;
    for (int k = 0; k < transform_size; ++k) roots[std::size_t(k)] = std::polar(1.0, -2 * pi * k / transform_size);
    return roots;
}

// e^(-2 pi i product / 256)
std::complex<double> root(int product) {
    static const std::array<std::complex<double>, transform_size> roots = make_roots();
    return roots[static_cast<unsigned>(product) % transform_size];
}

std::array<std::complex<double>, half_transform> noise_spectrum(const Synthesis& synthesis) {
    std::array<std::complex<double>, half_transform> spectrum{};
    for (int m = 0; m < half_transform; ++m)
        for (int n = -half_transform; n < half_transform; ++n)
            spectrum[std::size_t(m)] +=
                synthesis.white[std::size_t(n + half_transform)] * window(synthesis.faults, n) * root(m * n);
    return spectrum;
}

void shape_noise(const Synthesis& synthesis, Voice& voice) {
    const auto white = noise_spectrum(synthesis);
    std::array<std::complex<double>, half_transform> shaped{};
    const double f0 = voice.w0 / (2 * pi);
    for (int l = 1; l <= voice.harmonics; ++l) {
        if (voice.voiced[std::size_t(l)] || voice.magnitude[std::size_t(l)] == 0) continue;
        const int first = int(std::ceil(256 * f0 * (l - 0.5) - 1e-6));
        const int end = std::min(half_transform, int(std::ceil(256 * f0 * (l + 0.5) - 1e-6)));
        double energy = 0;
        for (int m = first; m < end; ++m) energy += std::norm(white[std::size_t(m)]);
        if (energy <= 0) continue;
        const double gain = noise_gain * synthesis.faults.unvoiced_factor * voice.magnitude[std::size_t(l)] /
                            std::sqrt(energy / (end - first));
        for (int m = first; m < end; ++m) {
            const int target = m + synthesis.faults.noise_bin_shift;
            if (target < half_transform) shaped[std::size_t(target)] = gain * white[std::size_t(m)];
        }
    }
    for (int n = -half_transform; n < half_transform; ++n) {
        double value = shaped[0].real();
        for (int m = 1; m < half_transform; ++m) value += 2 * (shaped[std::size_t(m)] * std::conj(root(m * n))).real();
        voice.noise[std::size_t(n + half_transform)] = value / transform_size;
    }
}

bool glides(const Voice& before, const Voice& after, int l) {
    return l < 8 && before.voiced[std::size_t(l)] && after.voiced[std::size_t(l)] &&
           std::abs(after.w0 - before.w0) < 0.1 * after.w0;
}

double gliding_harmonic(const Voice& before, const Voice& after, int l, int n) {
    const std::size_t i = std::size_t(l);
    constexpr double span = block_samples;
    const double miss = after.phi[i] - before.phi[i] - (before.w0 + after.w0) * l * span / 2;
    const double dw = (miss - 2 * pi * std::floor((miss + pi) / (2 * pi))) / span;
    const double theta =
        before.phi[i] + (before.w0 * l + dw) * n + (after.w0 - before.w0) * l * double(n) * n / (2 * span);
    return 2 * (before.magnitude[i] + n / span * (after.magnitude[i] - before.magnitude[i])) * std::cos(theta);
}

double overlapping_harmonic(const Voice& before, const Voice& after, int l, int n, const SynthesisFaults& faults) {
    const std::size_t i = std::size_t(l);
    double value = 0;
    if (before.voiced[i])
        value += 2 * window(faults, n) * before.magnitude[i] * std::cos(before.w0 * l * n + before.phi[i]);
    if (after.voiced[i])
        value += 2 * window(faults, n - block_samples) * after.magnitude[i] *
                 std::cos(after.w0 * l * (n - block_samples) + after.phi[i]);
    return value;
}

double noise_at(const Voice& voice, int n) {
    return n < -half_transform || n >= half_transform ? 0 : voice.noise[std::size_t(n + half_transform)];
}

double speech_sample(const Voice& before, const Voice& after, int n, const SynthesisFaults& faults) {
    double voiced = 0;
    for (int l = 1; l <= std::max(before.harmonics, after.harmonics); ++l)
        voiced += glides(before, after, l) ? gliding_harmonic(before, after, l, n)
                                           : overlapping_harmonic(before, after, l, n, faults);
    const double falling = window(faults, n);
    const double rising = window(faults, n - block_samples);
    const double noise = falling * noise_at(before, n) + rising * noise_at(after, n - block_samples);
    return faults.voiced_factor * voiced + noise / (falling * falling + rising * rising);
}

std::int16_t to_sample(double value) {
    return static_cast<std::int16_t>(std::lrint(std::clamp(output_gain * value, -32767.0, 32767.0)));
}

void draw_white(Synthesis& synthesis, std::size_t count) {
    std::move(synthesis.white.begin() + std::ptrdiff_t(count), synthesis.white.end(), synthesis.white.begin());
    for (std::size_t n = transform_size - count; n < transform_size; ++n) synthesis.white[n] = draw(synthesis);
}

}  // namespace

Pcm plain_synthesis(std::span<const GoldenFrame> frames, const SynthesisFaults& faults) {
    Synthesis synthesis;
    synthesis.faults = faults;
    draw_white(synthesis, transform_size);
    Pcm pcm;
    for (const GoldenFrame& frame : frames) {
        Voice voice = voice_of(frame, synthesis.last);
        run_phases(synthesis, voice);
        shape_noise(synthesis, voice);
        const Voice before = faults.forgets_last_frame ? Voice{} : synthesis.last;
        for (int n = 0; n < block_samples; ++n) pcm.push_back(to_sample(speech_sample(before, voice, n, faults)));
        synthesis.last = voice;
        draw_white(synthesis, block_samples);
    }
    return pcm;
}
