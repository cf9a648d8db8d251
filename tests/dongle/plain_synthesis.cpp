// SPDX-License-Identifier: MIT
#include "plain_synthesis.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <complex>
#include <cstdint>
#include <numbers>

namespace {

constexpr int frame_samples = 160;
constexpr int hop = 80;
constexpr int transform_size = 128;
constexpr int half_transform = transform_size / 2;
constexpr std::size_t harmonic_limit = 56;
constexpr double noise_gain = 103.53;
constexpr double limit = 32000;
constexpr double pi = std::numbers::pi;

using Block = std::array<double, transform_size>;  // index n + 64
using Bins = std::array<double, half_transform>;

// What one frame gives to the next.
struct Voice {
    double f0 = 1.0 / 32;
    std::size_t harmonics = 14;
    std::array<double, harmonic_limit + 1> magnitude{};
    std::array<bool, harmonic_limit + 1> voiced{};
    std::array<double, harmonic_limit + 1> psi{};
    std::array<double, harmonic_limit + 1> phi{};
    Bins bins{};
    Block noise[2]{};  // z = 1 and z = 2
};

struct Synthesis {
    SynthesisFaults faults;
    std::uint32_t generator = 0x2545F491;
    std::vector<double> white;  // all that was drawn for noise blocks
    Voice last;
};

// Linear congruential generator (Knuth, "The Art of Computer Programming", volume 2, 3.3.4), uniform in [-1, 1).
double draw(Synthesis& synthesis) {
    synthesis.generator = 1664525u * synthesis.generator + 1013904223u;
    return static_cast<std::int32_t>(synthesis.generator) / 2147483648.0;
}

void draw_white(Synthesis& synthesis, int count) {
    for (int n = 0; n < count; ++n) synthesis.white.push_back(draw(synthesis));
}

double trapezoid(int n, int flat, int end) {
    const int distance = std::abs(n);
    if (distance <= flat) return 1;
    return distance >= end ? 0 : double(end - distance) / (end - flat);
}

double voiced_window(int n) {
    return trapezoid(n, 55, 105);
}

double noise_window(int n) {
    return trapezoid(n, 20, 60);
}

// q: how much of a voiced harmonic is noise.
double noise_share(double f0, std::size_t l) {
    return 0.25 * std::clamp((8000 * f0 * double(l) - 500) / 2000, 0.0, 1.0);
}

double sinusoid_amplitude(const Voice& voice, std::size_t l) {
    const double q = noise_share(voice.f0, l);
    return voice.voiced[l] ? 2 * voice.magnitude[l] * std::sqrt(1 - q * q) : 0.0;
}

Voice voice_of(const GoldenFrame& frame, const Voice& last) {
    Voice voice;
    const bool sounds = !frame.magnitude.empty();
    voice.f0 = sounds ? frame.fundamental : last.f0;
    voice.harmonics = sounds ? frame.magnitude.size() : last.harmonics;
    for (std::size_t l = 1; l <= frame.magnitude.size(); ++l) {
        voice.magnitude[l] = frame.magnitude[l - 1];
        voice.voiced[l] = frame.voiced[l - 1];
    }
    return voice;
}

void run_phases(Synthesis& synthesis, Voice& voice) {
    int unvoiced = 0;
    for (std::size_t l = 1; l <= voice.harmonics; ++l) unvoiced += voice.voiced[l] ? 0 : 1;
    for (std::size_t l = 1; l <= harmonic_limit; ++l) {
        const double rho = pi * draw(synthesis);
        const double frequency = double(l) * voice.f0;
        voice.psi[l] = synthesis.last.psi[l] + 2 * pi * (synthesis.last.f0 + voice.f0) * double(l) * hop;
        voice.psi[l] = std::remainder(voice.psi[l], 2 * pi);
        voice.phi[l] = voice.psi[l] + 2 * pi * 32 * frequency * frequency;
        if (l > voice.harmonics / 4) voice.phi[l] += rho * unvoiced / double(voice.harmonics);
    }
}

double bin_magnitude(const Voice& voice, int m) {
    const auto l = static_cast<std::size_t>(std::floor(m / (transform_size * voice.f0) + 0.5));
    if (l < 1 || l > voice.harmonics) return 0;
    if (!voice.voiced[l]) return voice.magnitude[l];
    return 0.2046 / std::sqrt(2 * pi * voice.f0) * noise_share(voice.f0, l) * voice.magnitude[l];
}

double between(double before, double now) {
    return before > 0 && now > 0 ? std::sqrt(before * now) : (before + now) / 2;
}

// e^(-2 pi i product / 128)
std::complex<double> root(int product) {
    static const auto roots = [] {
        std::array<std::complex<double>, transform_size> table;
        for (int k = 0; k < transform_size; ++k) table[std::size_t(k)] = std::polar(1.0, -2 * pi * k / transform_size);
        return table;
    }();
    return roots[static_cast<unsigned>(product) % transform_size];
}

// `white` is the noise around the block's centre.
Block noise_block(const double* white, const Bins& magnitude, int bin_shift) {
    std::array<std::complex<double>, half_transform> bins{};
    for (int m = 1; m < half_transform; ++m) {
        std::complex<double> sum = 0;
        for (int n = -half_transform; n < half_transform; ++n)
            sum += white[n + half_transform] * noise_window(n) * root(m * n);
        const int target = m + bin_shift;
        if (target < half_transform && std::abs(sum) > 0)
            bins[std::size_t(target)] = magnitude[std::size_t(m)] * sum / std::abs(sum);
    }
    Block block;
    for (int n = -half_transform; n < half_transform; ++n) {
        double value = 0;
        for (int m = 1; m < half_transform; ++m) value += 2 * (bins[std::size_t(m)] * std::conj(root(m * n))).real();
        block[std::size_t(n + half_transform)] = value / transform_size;
    }
    return block;
}

void make_noise(Synthesis& synthesis, Voice& voice) {
    draw_white(synthesis, 2 * hop);
    Bins middle{};
    for (int m = 1; m < half_transform; ++m) {
        const auto i = static_cast<std::size_t>(m);
        voice.bins[i] = noise_gain * synthesis.faults.noise_factor * bin_magnitude(voice, m);
        middle[i] = between(synthesis.last.bins[i], voice.bins[i]);
    }
    const double* end = synthesis.white.data() + synthesis.white.size();
    const int shift = synthesis.faults.noise_bin_shift;
    voice.noise[0] = noise_block(end - hop - transform_size, middle, shift);
    voice.noise[1] = noise_block(end - transform_size, voice.bins, shift);
}

double at(const Block& block, int n) {
    return n < -half_transform || n >= half_transform ? 0 : block[std::size_t(n + half_transform)];
}

double noise_sample(const Voice& before, const Voice& now, int n) {
    const Block& old = n < hop ? before.noise[1] : now.noise[0];
    const Block& next = n < hop ? now.noise[0] : now.noise[1];
    const int k = n % hop;
    const double falling = noise_window(k);
    const double rising = noise_window(k - hop);
    return (falling * at(old, k) + rising * at(next, k - hop)) / (falling * falling + rising * rising);
}

bool is_smooth(const Voice& before, const Voice& now, std::size_t l) {
    return sinusoid_amplitude(before, l) > 0 && sinusoid_amplitude(now, l) > 0 &&
           std::abs(now.f0 - before.f0) < 0.2 * now.f0;
}

double smooth_harmonic(const Voice& before, const Voice& now, std::size_t l, int n, bool curved) {
    constexpr double span = frame_samples;
    const double w_before = 2 * pi * before.f0 * double(l);
    const double w_now = 2 * pi * now.f0 * double(l);
    const double miss = now.phi[l] - before.phi[l] - (w_before + w_now) * span / 2;
    const double dw = (miss - 2 * pi * std::floor((miss + pi) / (2 * pi))) / span;
    const double theta = curved ? (w_before + dw) * n + (w_now - w_before) * double(n) * n / (2 * span)
                                : ((w_before + w_now) / 2 + dw) * n;
    const double from = sinusoid_amplitude(before, l);
    return from * std::pow(sinusoid_amplitude(now, l) / from, n / span) * std::cos(before.phi[l] + theta);
}

double overlapping_harmonic(const Voice& before, const Voice& now, std::size_t l, int n) {
    const double w_before = 2 * pi * before.f0 * double(l);
    const double w_now = 2 * pi * now.f0 * double(l);
    const int m = n - frame_samples;
    return voiced_window(n) * sinusoid_amplitude(before, l) * std::cos(w_before * n + before.phi[l]) +
           voiced_window(m) * sinusoid_amplitude(now, l) * std::cos(w_now * m + now.phi[l]);
}

double speech_sample(const Voice& before, const Voice& now, int n, const SynthesisFaults& faults) {
    double voiced = 0;
    for (std::size_t l = 1; l <= std::max(before.harmonics, now.harmonics); ++l)
        voiced += is_smooth(before, now, l) ? smooth_harmonic(before, now, l, n, int(l) <= faults.curved_harmonics)
                                            : overlapping_harmonic(before, now, l, n);
    return faults.voiced_factor * voiced + noise_sample(before, now, n);
}

std::int16_t to_sample(double value) {
    return static_cast<std::int16_t>(std::lrint(std::clamp(value, -32767.0, 32767.0)));
}

double peak_of(std::span<const double> samples) {
    double peak = 0;
    for (const double sample : samples) peak = std::max(peak, std::abs(sample));
    return peak;
}

}  // namespace

std::vector<double> plain_speech(std::span<const GoldenFrame> frames, const SynthesisFaults& faults) {
    Synthesis synthesis;
    synthesis.faults = faults;
    draw_white(synthesis, transform_size);
    std::vector<double> speech;
    for (const GoldenFrame& frame : frames) {
        Voice voice = voice_of(frame, synthesis.last);
        run_phases(synthesis, voice);
        make_noise(synthesis, voice);
        const Voice before = faults.forgets_last_frame ? Voice{} : synthesis.last;
        for (int n = 0; n < frame_samples; ++n) speech.push_back(speech_sample(before, voice, n, faults));
        synthesis.last = voice;
    }
    return speech;
}

Pcm plain_limiter(std::span<const double> samples) {
    Pcm pcm;
    double gain = 1;
    for (; samples.size() >= frame_samples; samples = samples.subspan(frame_samples)) {
        const double peak = peak_of(samples.first(frame_samples));
        const double before = gain;
        gain = std::min(peak > limit ? limit / peak : 1.0, before + 0.05);
        const int ramp = gain < before ? 48 : frame_samples;
        for (int n = 0; n < frame_samples; ++n) {
            const double k = before + (gain - before) * std::min(n, ramp) / ramp;
            pcm.push_back(to_sample(k * samples[std::size_t(n)]));
        }
    }
    return pcm;
}

Pcm plain_synthesis(std::span<const GoldenFrame> frames, const SynthesisFaults& faults) {
    return plain_limiter(plain_speech(frames, faults));
}
