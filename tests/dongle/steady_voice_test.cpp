// SPDX-License-Identifier: MIT
// The same voiced frame again and again: after a while nothing changes any more, and the speech is the sum of its
// harmonics, exactly, across every frame border.
#include <gmock/gmock.h>

#include <cmath>
#include <cstdio>
#include <numbers>

#include "dongle_door.h"
#include "frame_builder.h"

namespace {

constexpr std::size_t block_samples = 160;
constexpr std::size_t settled_frames = 80;  // the prediction forgets by 0.65 a frame
constexpr std::size_t measured_blocks = 5;

// A vowel with 37 harmonics, every band made voiced (the four bits from v37 on), its gain halved from 47 to 15 (v6 to
// v9, v41, v42): said over and over it would grow beyond 16 bits.
constexpr std::uint64_t vowel = 0xB6C7DC4875F5;
constexpr std::uint64_t gain_bit = std::uint64_t{1} << (47 - 6);
constexpr std::uint64_t all_voiced = (vowel & ~gain_bit) | std::uint64_t{0xF} << (47 - 40);
constexpr int vowel_pitch_index = 91;
constexpr std::size_t vowel_harmonics = 37;

double fundamental(int pitch_index) {
    return std::exp2(-17661.0 / 4096 - 0.021336 * (pitch_index + 0.5));
}

Pcm settled(std::uint64_t voice_bits) {
    const Pcm pcm =
        decoded(std::vector<AmbeFrameBytes>(settled_frames + measured_blocks, frame_of_voice_bits(voice_bits)));
    if (pcm.size() != (settled_frames + measured_blocks) * block_samples) return Pcm(measured_blocks * block_samples);
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

}  // namespace

TEST(SteadyVoice, IsTheSumOfItsHarmonics) {
    const Pcm pcm = settled(all_voiced);
    const Vector rest = residual(pcm, fundamental(vowel_pitch_index), vowel_harmonics);
    printf("steady vowel: rms %.1f, of which %.2f is no harmonic\n", rms(pcm), rms(rest));
    EXPECT_GT(rms(pcm), 500);
    // Rounding to 16 bits leaves 0.29.
    EXPECT_LT(rms(rest), 1.0);
}

TEST(SteadyVoice, HasNoStepAtFrameBorders) {
    const Vector rest = residual(settled(all_voiced), fundamental(vowel_pitch_index), vowel_harmonics);
    for (std::size_t border = block_samples; border < rest.size(); border += block_samples)
        for (std::size_t n = border - 2; n < border + 2; ++n) EXPECT_LT(std::abs(rest[n]), 3) << n;
}

TEST(SteadyVoice, AnotherFundamentalDoesNotFit) {
    const Vector rest = residual(settled(all_voiced), fundamental(vowel_pitch_index + 1), vowel_harmonics);
    EXPECT_GT(rms(rest), 100) << "the measure itself";
}
