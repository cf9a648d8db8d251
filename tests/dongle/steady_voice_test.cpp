// SPDX-License-Identifier: MIT
// The same frame again and again: after a while nothing changes any more. Voiced speech is then the sum of its
// harmonics and of the noise among them, across every frame border; unvoiced speech is noise whose envelope has no
// rhythm.
#include <gmock/gmock.h>

#include <cmath>
#include <complex>
#include <cstdio>
#include <numbers>

#include "dongle_door.h"
#include "frame_builder.h"

namespace {

constexpr std::size_t settled_frames = 80;  // the prediction forgets by 0.8 a frame
constexpr std::size_t measured_blocks = 40;

// A vowel with 34 harmonics, every band made voiced (the four bits from v37 on), its gain reduced from 47 to 15 (v6 to
// v9, v41, v42): said over and over it would grow beyond 16 bits.
constexpr std::uint64_t vowel = 0xB6C7DC4875F5;
constexpr std::uint64_t gain_bit = std::uint64_t{1} << (47 - 6);
constexpr std::uint64_t all_voiced = (vowel & ~gain_bit) | std::uint64_t{0xF} << (47 - 40);
constexpr int vowel_pitch_index = 91;
constexpr std::size_t vowel_harmonics = 34;
constexpr std::uint64_t all_unvoiced = (vowel & ~gain_bit) & ~(std::uint64_t{0xF} << (47 - 40));

double fundamental(int pitch_index) {
    return 0.4627 / std::exp2(4.1261 + 0.02179 * (pitch_index - 45));
}

Pcm settled(std::uint64_t voice_bits, std::size_t blocks = measured_blocks) {
    const Pcm pcm = decoded(std::vector<AmbeFrameBytes>(settled_frames + blocks, frame_of_voice_bits(voice_bits)));
    if (pcm.size() != (settled_frames + blocks) * block_samples) return Pcm(blocks * block_samples);
    return Pcm(pcm.begin() + settled_frames * block_samples, pcm.end());
}

using Vector = std::vector<double>;

// Cosine and sine of every harmonic at sample n.
Vector harmonics_at(double n, double f0, std::size_t count) {
    Vector values;
    for (std::size_t l = 1; l <= count; ++l) {
        const double angle = 2 * std::numbers::pi * f0 * static_cast<double>(l) * n;
        values.push_back(std::cos(angle));
        values.push_back(std::sin(angle));
    }
    return values;
}

// Solves a x = b by elimination; `a` is symmetric and well conditioned here.
Vector solved(std::vector<Vector> a, Vector b) {
    for (std::size_t i = 0; i < b.size(); ++i)
        for (std::size_t row = i + 1; row < b.size(); ++row) {
            const double factor = a[row][i] / a[i][i];
            for (std::size_t k = i; k < b.size(); ++k) a[row][k] -= factor * a[i][k];
            b[row] -= factor * b[i];
        }
    for (std::size_t i = b.size(); i-- > 0;) {
        for (std::size_t k = i + 1; k < b.size(); ++k) b[i] -= a[i][k] * b[k];
        b[i] /= a[i][i];
    }
    return b;
}

// What of the samples is no sum of harmonics of f0, by least squares.
Vector residual(const Pcm& pcm, double f0, std::size_t count) {
    std::vector<Vector> normal(2 * count, Vector(2 * count));
    Vector right(2 * count);
    for (std::size_t n = 0; n < pcm.size(); ++n) {
        const Vector row = harmonics_at(static_cast<double>(n), f0, count);
        for (std::size_t i = 0; i < row.size(); ++i) {
            for (std::size_t k = 0; k < row.size(); ++k) normal[i][k] += row[i] * row[k];
            right[i] += row[i] * pcm[n];
        }
    }
    const Vector weights = solved(normal, right);
    Vector rest;
    for (std::size_t n = 0; n < pcm.size(); ++n) {
        const Vector row = harmonics_at(static_cast<double>(n), f0, count);
        double value = pcm[n];
        for (std::size_t i = 0; i < row.size(); ++i) value -= weights[i] * row[i];
        rest.push_back(value);
    }
    return rest;
}

double rms(const auto& values) {
    double sum = 0;
    for (const double value : values) sum += value * value;
    return std::sqrt(sum / static_cast<double>(values.size()));
}

// Power of the second difference, in which a step or a bend shows: of all samples, and of those at frame borders.
struct Roughness {
    double everywhere = 0, at_borders = 0;
};

Roughness roughness_of(const Vector& rest) {
    Roughness roughness;
    double samples = 0, borders = 0;
    for (std::size_t n = 2; n + 2 < rest.size(); ++n) {
        const double power = std::pow(rest[n - 1] - 2 * rest[n] + rest[n + 1], 2);
        roughness.everywhere += power;
        samples += 1;
        if ((n + 1) % block_samples > 2) continue;
        roughness.at_borders += power;
        borders += 1;
    }
    return {roughness.everywhere / samples, roughness.at_borders / borders};
}

// The envelope's spectrum in lines of 1 Hz, the mean of seconds under a Hann window.
Vector envelope_lines(const Pcm& pcm) {
    constexpr std::size_t second = 8000;
    constexpr std::size_t lines = 151;
    std::vector<std::complex<double>> roots(second);
    for (std::size_t n = 0; n < second; ++n) roots[n] = std::polar(1.0, -2 * std::numbers::pi * double(n) / second);
    Vector power(lines), envelope(second);
    for (std::size_t at = 0; at + second <= pcm.size(); at += second / 2) {
        for (std::size_t n = 0; n < second; ++n) envelope[n] = std::abs(double(pcm[at + n])) * (1 - roots[n].real());
        for (std::size_t hz = 0; hz < lines; ++hz) {
            std::complex<double> sum = 0;
            for (std::size_t n = 0; n < second; ++n) sum += envelope[n] * roots[n * hz % second];
            power[hz] += std::norm(sum);
        }
    }
    return power;
}

// How far a line stands out of what lies 4 to 12 Hz beside it.
double line_db(const Vector& power, std::size_t hz) {
    double beside = 0;
    for (std::size_t distance = 4; distance <= 12; ++distance) beside += power[hz - distance] + power[hz + distance];
    return 10 * std::log10(power[hz] / (beside / 18));
}

}  // namespace

TEST(SteadyVoice, IsTheSumOfItsHarmonicsAndOfTheirShareOfNoise) {
    const Pcm pcm = settled(all_voiced);
    const Vector rest = residual(pcm, fundamental(vowel_pitch_index), vowel_harmonics);
    printf("steady vowel: rms %.1f, of which %.2f is no harmonic\n", rms(pcm), rms(rest));
    EXPECT_GT(rms(pcm), 500);
    // At most a quarter of the magnitude, in power a sixteenth; nothing below 500 Hz.
    EXPECT_LT(rms(rest), 0.25 * rms(pcm));
}

TEST(SteadyVoice, HasNoStepAtFrameBorders) {
    const Vector rest = residual(settled(all_voiced), fundamental(vowel_pitch_index), vowel_harmonics);
    const Roughness roughness = roughness_of(rest);
    printf("steady vowel: roughness %.1f, at frame borders %.1f\n", roughness.everywhere, roughness.at_borders);
    EXPECT_LT(roughness.at_borders, 1.6 * roughness.everywhere);
}

TEST(SteadyVoice, AnotherFundamentalDoesNotFit) {
    const Vector rest = residual(settled(all_voiced), fundamental(vowel_pitch_index + 1), vowel_harmonics);
    EXPECT_GT(rms(rest), 100) << "the measure itself";
}

TEST(SteadyNoise, HasNoLineOfTheFrameRateInItsEnvelope) {
    const Vector power = envelope_lines(settled(all_unvoiced, 1000));
    printf("steady noise: %.1f dB at 50 Hz, %.1f dB at 100 Hz\n", line_db(power, 50), line_db(power, 100));
    EXPECT_LT(line_db(power, 50), 8);
    EXPECT_LT(line_db(power, 100), 8);
}

TEST(SteadyNoise, LineInAnEnvelopeWouldBeSeen) {
    Pcm pcm = settled(all_unvoiced, 1000);
    for (std::size_t n = 0; n < pcm.size(); ++n)
        pcm[n] = static_cast<std::int16_t>(pcm[n] * (1 + 0.2 * std::cos(2 * std::numbers::pi * double(n) / 160)));
    EXPECT_GT(line_db(envelope_lines(pcm), 50), 8) << "the measure itself";
}
