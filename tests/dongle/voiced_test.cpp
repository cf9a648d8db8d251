// SPDX-License-Identifier: MIT
#include "synthesis/voiced.h"

#include <gtest/gtest.h>

#include <cmath>
#include <random>

#include "dongle/decoder_versions.h"

namespace {

constexpr double to_turns = 0x1p-32;
constexpr std::uint32_t pitch = 0x03000000;  // 94 Hz

// All harmonics silent, in phases of their own.
VoicedHarmonics silent_harmonics(std::uint32_t fundamental, int count, unsigned seed) {
    std::mt19937 random(seed);
    VoicedHarmonics harmonics{};
    harmonics.fundamental = fundamental;
    harmonics.count = count;
    for (std::uint32_t& phase : harmonics.phase) phase = static_cast<std::uint32_t>(random());
    return harmonics;
}

VoicedHarmonics one_harmonic(std::uint32_t fundamental, int count, unsigned seed, int harmonic, float amplitude) {
    VoicedHarmonics harmonics = silent_harmonics(fundamental, count, seed);
    harmonics.amplitude[harmonic - 1] = amplitude;
    return harmonics;
}

// One harmonic on its way from frame to frame: frequencies in cycles per sample, phases in turns.
struct Way {
    double from_frequency, to_frequency;
    double from_phase, to_phase;
    double from_amplitude, to_amplitude;
};

Way way_of(const VoicedHarmonics& before, const VoicedHarmonics& now, int harmonic) {
    const int i = harmonic - 1;
    return {before.fundamental * to_turns * harmonic,
            now.fundamental * to_turns * harmonic,
            before.phase[i] * to_turns,
            now.phase[i] * to_turns,
            before.amplitude[i],
            now.amplitude[i]};
}

// What is missing to arrive at the phase wanted, from -1/2 to, exclusively, 1/2 turn, is spread over 160 samples.
double missing_step(const Way& way) {
    const double d = way.to_phase - way.from_phase - (way.from_frequency + way.to_frequency) * 80;
    return (d - std::floor(d + 0.5)) / 160;
}

double smooth_amplitude(const Way& way, int n) {
    return way.from_amplitude * std::pow(way.to_amplitude / way.from_amplitude, n / 160.0);
}

double curved_sample(const Way& way, int n) {
    const double turns = way.from_phase + (way.from_frequency + missing_step(way)) * n +
                         (way.to_frequency - way.from_frequency) * n * n / 320;
    return smooth_amplitude(way, n) * std::cos(2 * M_PI * turns);
}

double straight_sample(const Way& way, int n) {
    const double turns = way.from_phase + ((way.from_frequency + way.to_frequency) / 2 + missing_step(way)) * n;
    return smooth_amplitude(way, n) * std::cos(2 * M_PI * turns);
}

// 1 up to 55 samples from the middle, 0 from 105 on.
double window(int n) {
    return std::clamp((105 - std::abs(n)) * 0.02, 0.0, 1.0);
}

double overlapping_sample(const Way& way, int n) {
    return window(n) * way.from_amplitude * std::cos(2 * M_PI * (way.from_phase + way.from_frequency * n)) +
           window(n - 160) * way.to_amplitude * std::cos(2 * M_PI * (way.to_phase + way.to_frequency * (n - 160)));
}

}  // namespace

class VoicedSynthesis : public DecoderVersions {
  protected:
    // One harmonic alone, from frame to frame.
    void expect_harmonic(const VoicedHarmonics& before, const VoicedHarmonics& now, int harmonic,
                         double (*sample)(const Way& way, int n)) {
        SpeechBlock samples{};
        version().voiced_synthesis(before, now, samples);
        const Way way = way_of(before, now, harmonic);
        const double tolerance = 5e-5 * std::max(way.from_amplitude, way.to_amplitude);
        for (int n = 0; n < frame_samples; n++)
            ASSERT_NEAR(samples[n], sample(way, n), tolerance) << harmonic << " " << n;
    }

    // The same with both frames voiced.
    void expect_voiced(std::uint32_t from, std::uint32_t to, int harmonic, double (*sample)(const Way& way, int n)) {
        const auto seed = static_cast<unsigned>(harmonic);
        expect_harmonic(one_harmonic(from, 30, seed, harmonic, 1000), one_harmonic(to, 30, seed + 100, harmonic, 250),
                        harmonic, sample);
    }
};
INSTANTIATE_TEST_SUITE_P(Versions, VoicedSynthesis, every_version, version_name);

TEST_P(VoicedSynthesis, LowHarmonicsFollowThePitchAlongAParabola) {
    for (int harmonic = 1; harmonic <= 7; harmonic++)
        for (const std::uint32_t to : {pitch, pitch + 1, pitch / 50 * 51, pitch / 8 * 9, pitch / 8 * 7})
            expect_voiced(pitch, to, harmonic, curved_sample);
}

TEST_P(VoicedSynthesis, HigherHarmonicsFollowItInAStraightLine) {
    for (const int harmonic : {8, 9, 15, 16, 17, 30})
        for (const std::uint32_t to : {pitch, pitch + 1, pitch / 50 * 51, pitch / 8 * 9, pitch / 8 * 7})
            expect_voiced(pitch, to, harmonic, straight_sample);
}

TEST_P(VoicedSynthesis, HarmonicsAreSmoothWhileThePitchChangesByLessThanAFifth) {
    // A fifth of the new pitch, 5 k: from 4 k or 6 k it is reached, one step nearer it is not.
    constexpr std::uint32_t k = 0x00800000;
    for (const int harmonic : {1, 12}) {
        double (*const smooth)(const Way&, int) = harmonic == 1 ? curved_sample : straight_sample;
        expect_voiced(4 * k, 5 * k, harmonic, overlapping_sample);
        expect_voiced(4 * k + 1, 5 * k, harmonic, smooth);
        expect_voiced(6 * k, 5 * k, harmonic, overlapping_sample);
        expect_voiced(6 * k - 1, 5 * k, harmonic, smooth);
    }
}

TEST_P(VoicedSynthesis, AmplitudeMovesGeometrically) {
    // A harmonic of 1000 Hz, at its crest every eight samples: 100 to 1600 in 160 samples is a factor of 2 every 40.
    VoicedHarmonics before = silent_harmonics(0x02000000, 30, 1);
    before.amplitude[15] = 100;
    before.phase[15] = 0;
    VoicedHarmonics now = before;
    now.amplitude[15] = 1600;
    SpeechBlock samples{};
    version().voiced_synthesis(before, now, samples);
    for (int n = 0; n < frame_samples; n += 8) EXPECT_NEAR(samples[n], 100 * std::exp2(n / 40.0), 0.05) << n;
}

TEST_P(VoicedSynthesis, ExtremeChangesOfAmplitudeAreExactToo) {
    for (const float to : {1e-4F, 1.0F, 30000.0F})
        for (const int harmonic : {3, 11})
            expect_harmonic(one_harmonic(pitch, 30, 3, harmonic, 1), one_harmonic(pitch / 50 * 51, 30, 4, harmonic, to),
                            harmonic, harmonic < 8 ? curved_sample : straight_sample);
}

TEST_P(VoicedSynthesis, HalfATurnThatIsMissingIsGoneBackwards) {
    for (const int harmonic : {2, 10}) {
        const VoicedHarmonics before = one_harmonic(pitch, 30, 5, harmonic, 500);
        VoicedHarmonics now = before;
        const std::uint32_t travelled = static_cast<std::uint32_t>(harmonic) * pitch * 160;
        for (const std::uint32_t miss : {0x7FFFFF00U, 0x80000000U, 0x80000100U}) {
            now.phase[harmonic - 1] = before.phase[harmonic - 1] + travelled + miss;
            expect_harmonic(before, now, harmonic, harmonic < 8 ? curved_sample : straight_sample);
        }
    }
}

TEST_P(VoicedSynthesis, HarmonicOfOneFrameOnlyFadesUnderTheWindow) {
    for (const int harmonic : {1, 7, 8, 25}) {
        const VoicedHarmonics silent = silent_harmonics(pitch / 50 * 51, 28, 7);
        const VoicedHarmonics loud = one_harmonic(pitch, 30, 6, harmonic, 800);
        expect_harmonic(loud, silent, harmonic, overlapping_sample);
        expect_harmonic(silent, loud, harmonic, overlapping_sample);
    }
}

TEST_P(VoicedSynthesis, HarmonicsBeyondTheLastOneOfTheOtherFrameSound) {
    for (const int harmonic : {41, 56}) {
        const VoicedHarmonics before = silent_harmonics(pitch, 12, 8);
        const VoicedHarmonics now = one_harmonic(pitch, 56, 9, harmonic, 300);
        expect_harmonic(before, now, harmonic, overlapping_sample);
        expect_harmonic(now, before, harmonic, overlapping_sample);
    }
}

TEST_P(VoicedSynthesis, VeryQuietHarmonicsSoundToo) {
    const VoicedHarmonics silent = silent_harmonics(pitch, 30, 15);
    for (const int harmonic : {1, 20}) {
        const VoicedHarmonics quiet = one_harmonic(pitch, 30, 16, harmonic, 0.6F);
        const VoicedHarmonics quieter = one_harmonic(pitch, 30, 17, harmonic, 0.2F);
        expect_harmonic(silent, quiet, harmonic, overlapping_sample);
        expect_harmonic(quiet, silent, harmonic, overlapping_sample);
        expect_harmonic(quiet, quieter, harmonic, straight_sample);
    }
}

TEST_P(VoicedSynthesis, AllHarmonicsAreAddedToWhatIsThere) {
    VoicedHarmonics before = silent_harmonics(pitch, 40, 10);
    VoicedHarmonics now = silent_harmonics(pitch / 50 * 51, 40, 11);
    for (int i = 0; i < 40; i++) {
        before.amplitude[i] = i % 3 == 0 ? 0.0F : static_cast<float>(10 + i);
        now.amplitude[i] = i % 4 == 0 ? 0.0F : static_cast<float>(60 - i);
    }
    SpeechBlock samples;
    for (float& sample : samples) sample = 100;
    version().voiced_synthesis(before, now, samples);
    for (int n = 0; n < frame_samples; n++) {
        double expected = 100;
        for (int harmonic = 1; harmonic <= 40; harmonic++) {
            const Way way = way_of(before, now, harmonic);
            const bool smooth = way.from_amplitude > 0 && way.to_amplitude > 0;
            expected +=
                !smooth ? overlapping_sample(way, n) : (harmonic < 8 ? curved_sample(way, n) : straight_sample(way, n));
        }
        ASSERT_NEAR(samples[n], expected, 0.02) << n;
    }
}

TEST_P(VoicedSynthesis, SilentHarmonicsAddNothing) {
    SpeechBlock samples{};
    version().voiced_synthesis(silent_harmonics(pitch, 30, 12), silent_harmonics(pitch * 2, 9, 13), samples);
    for (const float sample : samples) EXPECT_EQ(sample, 0.0F);
}

TEST_P(VoicedSynthesis, ConstantVoiceHasNoStepAtFrameBorders) {
    // Forty harmonics in their own phases: whatever the samples are, they are one sum of cosines throughout.
    VoicedHarmonics before = silent_harmonics(pitch, 40, 14);
    for (int i = 0; i < 40; i++) before.amplitude[i] = static_cast<float>(600 - 10 * i);
    const VoicedHarmonics first = before;
    for (int frame = 0; frame < 20; frame++) {
        VoicedHarmonics now = before;
        for (std::uint32_t i = 0; i < 40; i++) now.phase[i] += (i + 1) * pitch * frame_samples;
        SpeechBlock samples{};
        version().voiced_synthesis(before, now, samples);
        for (int n = 0; n < frame_samples; n++) {
            double expected = 0;
            for (int i = 0; i < 40; i++)
                expected += first.amplitude[i] *
                            std::cos(2 * M_PI * to_turns * (first.phase[i] + (i + 1.0) * pitch * (n + 160 * frame)));
            ASSERT_NEAR(samples[n], expected, 0.1) << frame << " " << n;
        }
        before = now;
    }
}
