// SPDX-License-Identifier: MIT
#include "synthesis/mbe_synthesis.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>

#include "dongle/plain_synthesis.h"
#include "dongle/synthesis_versions.h"
#include "synthesis/noise.h"

namespace {

constexpr double start_fundamental = 1.0 / 32;

// The generator's words, one after the other.
class Draws {
  public:
    explicit Draws(int skipped) {
        for (int i = 0; i < skipped; i++) next();
    }
    std::uint32_t next() { return state = 1664525U * state + 1013904223U; }
    std::uint32_t state = noise_start;
};

// Turns from -1/2 to 1/2.
double wrapped(double turns) {
    return turns - std::round(turns);
}
double turns_of(std::uint32_t phase) {
    return static_cast<std::int32_t>(phase) * 0x1p-32;
}

// 32 (l f0)^2 turns
double dispersion(double fundamental, int l) {
    return 32 * (l * fundamental) * (l * fundamental);
}

// Frames of any kind: the pitch wanders and jumps, bands are voiced or not, magnitudes vary, some are 0.
std::vector<GoldenFrame> arbitrary_frames(std::size_t count) {
    std::mt19937 random(21);
    std::uniform_real_distribution<double> uniform(0, 1);
    std::vector<GoldenFrame> frames;
    double index = 60;
    while (frames.size() < count) {
        index = uniform(random) < 0.1 ? 123 * uniform(random) : index + 8 * (uniform(random) - 0.5);
        index = std::clamp(index, 0.0, 123.0);
        const double u = std::exp2(4.1261 + 0.02179 * (std::round(index) - 45));
        GoldenFrame frame;
        frame.action = "voice";
        frame.fundamental = 0.4627 / u;
        const std::size_t harmonics = std::clamp<std::size_t>(static_cast<std::size_t>(u), 9, 56);
        const unsigned bands = uniform(random) < 0.3 ? 0xFF : static_cast<unsigned>(random());
        const bool silent = uniform(random) < 0.05;
        for (std::size_t l = 1; l <= harmonics; l++) {
            const double magnitude = uniform(random) < 0.05 ? 0 : std::exp2(2 + 8 * uniform(random));
            frame.magnitude.push_back(silent ? 0 : magnitude);
            frame.voiced.push_back(
                !silent && (bands >> static_cast<int>(16 * static_cast<double>(l) * frame.fundamental) & 1) != 0);
        }
        frames.push_back(frame);
    }
    return frames;
}

Harmonics spoken_of(const GoldenFrame& frame) {
    Harmonics harmonics = harmonics_of(frame.fundamental, static_cast<int>(frame.magnitude.size()), false);
    for (std::size_t i = 0; i < frame.magnitude.size(); i++) {
        harmonics.magnitude[i] = static_cast<float>(frame.magnitude[i]);
        harmonics.voiced[i] = frame.voiced[i] ? ~0U : 0U;
    }
    return harmonics;
}

}  // namespace

class MbeSynthesisTest : public SynthesisVersions {
  protected:
    void run(const Harmonics& harmonics) {
        Samples samples;
        synthesize(harmonics, 1, samples);
    }
    double phase(int l) const { return turns_of(synthesis.before.phase[l - 1]); }
};
INSTANTIATE_TEST_SUITE_P(Versions, MbeSynthesisTest, every_version, version_name);

// ---- phases ----

TEST_P(MbeSynthesisTest, StartsWithASilentFrameOfFourteenHarmonicsAtPhaseZero) {
    EXPECT_EQ(synthesis.before.fundamental, 1U << 27);
    EXPECT_EQ(synthesis.before.count, 14);
    for (int i = 0; i < harmonic_slots; i++) {
        EXPECT_EQ(synthesis.before.amplitude[i], 0.0F);
        EXPECT_EQ(synthesis.before.phase[i], 0U);
        EXPECT_EQ(synthesis.track[i], 0U);
    }
    for (const float magnitude : synthesis.blocks.magnitude) EXPECT_EQ(magnitude, 0.0F);
    for (const float sample : synthesis.blocks.tail) EXPECT_EQ(sample, 0.0F);
}

TEST_P(MbeSynthesisTest, VoicedFrameHasThePhasesOfItsPitchAndOfTheDispersion) {
    double track[57] = {};
    double before = start_fundamental;
    for (const double fundamental : {0.013, 0.0131, 0.02, 0.0085, 0.052}) {
        const int count = static_cast<int>(0.4627 / fundamental);
        run(harmonics_of(fundamental, count, true));
        for (int l = 1; l <= 56; l++) track[l] += (before + fundamental) * l * 80;
        for (int l = 1; l <= count; l++) {
            ASSERT_NEAR(wrapped(phase(l) - track[l] - dispersion(fundamental, l)), 0, 3e-6) << fundamental << " " << l;
        }
        before = fundamental;
    }
}

TEST_P(MbeSynthesisTest, DispersionIsNotCarriedOn) {
    run(harmonics_of(0.02, 23, true));
    for (std::uint32_t l = 1; l <= 56; l++)
        ASSERT_EQ(synthesis.track[l - 1], l * 80U * (phase_of_turns(start_fundamental) + phase_of_turns(0.02)));
}

TEST_P(MbeSynthesisTest, AllButTheLowestQuarterOfThePhasesAreScatteredByTheShareOfUnvoicedHarmonics) {
    for (const int count : {9, 20, 23, 24, 56})
        for (int unvoiced = 0; unvoiced <= count; unvoiced++) {
            version().synthesis_start(synthesis);
            Draws draws(128);
            const double fundamental = 0.46 / count;
            Harmonics harmonics = harmonics_of(fundamental, count, true);
            std::fill_n(harmonics.voiced + count - unvoiced, unvoiced, 0U);
            run(harmonics);
            for (int l = 1; l <= count; l++) {
                const double rho = turns_of(draws.next());
                const double straight = (start_fundamental + fundamental) * l * 80 + dispersion(fundamental, l);
                const double scattered = l > count / 4 ? rho * unvoiced / count : 0;
                ASSERT_NEAR(wrapped(phase(l) - straight - scattered), 0, 4e-6) << count << " " << unvoiced << " " << l;
            }
        }
}

// ---- noise ----

TEST_P(MbeSynthesisTest, DrawsAreAsManyInEveryFrame) {
    EXPECT_EQ(synthesis.noise, Draws(128).state);
    int drawn = 128;
    for (const bool voiced : {false, true, false})
        for (const int count : {9, 30, 56}) {
            run(harmonics_of(0.46 / count, count, voiced));
            drawn += 56 + 80 + 80;
            ASSERT_EQ(synthesis.noise, Draws(drawn).state);
        }
}

TEST_P(MbeSynthesisTest, BlocksShareTheLastFortyEightValues) {
    Draws started(80);
    for (const std::uint32_t word : synthesis.blocks.white) EXPECT_EQ(word, started.next());
    run(harmonics_of(0.02, 23, false));
    Draws later(128 + 56 + 160 - 48);
    for (const std::uint32_t word : synthesis.blocks.white) EXPECT_EQ(word, later.next());
}

TEST_P(MbeSynthesisTest, VoicedHarmonicsAreNoiseTheMoreTheHigherTheyLie) {
    // q: 0 up to 500 Hz, a quarter from 2500 Hz on, a straight line between.
    const double fundamental = 100.0 / 8000;
    const Harmonics harmonics = harmonics_of(fundamental, 37, true, 10);
    run(harmonics);
    for (int l = 1; l <= 37; l++) {
        const double q = std::clamp((100.0 * l - 500) / 2000, 0.0, 1.0) / 4;
        EXPECT_NEAR(synthesis.before.amplitude[l - 1], 20 * std::sqrt(1 - q * q), 1e-4) << l;
        const int bin = static_cast<int>(std::round(128 * fundamental * l));
        const double density = 0.2046 / std::sqrt(2 * M_PI * fundamental) * q * 10;
        EXPECT_NEAR(synthesis.blocks.magnitude[bin] * 128 / 103.53, density, 1e-4) << l;
    }
    for (int i = 37; i < harmonic_slots; i++) EXPECT_EQ(synthesis.before.amplitude[i], 0.0F) << i;
}

TEST_P(MbeSynthesisTest, UnvoicedHarmonicsAreNoSinusoids) {
    const Harmonics harmonics = harmonics_of(0.0125, 37, false, 10);
    run(harmonics);
    for (const float amplitude : synthesis.before.amplitude) EXPECT_EQ(amplitude, 0.0F);
}

// ---- samples ----

TEST_P(MbeSynthesisTest, ArbitraryFramesAreThoseOfThePlainFormulas) {
    const std::vector<GoldenFrame> frames = arbitrary_frames(400);
    const std::vector<double> plain = plain_speech(frames);
    Samples samples;
    for (const GoldenFrame& frame : frames) synthesize(spoken_of(frame), 1, samples);
    ASSERT_EQ(samples.size(), plain.size());
    double signal = 0;
    double error = 0;
    for (std::size_t n = 0; n < plain.size(); n++) {
        signal += plain[n] * plain[n];
        error += std::pow(samples[n] - plain[n], 2);
    }
    EXPECT_GT(10 * std::log10(signal / error), 90) << "dB";
}

TEST_P(MbeSynthesisTest, LowVoicedHarmonicIsASinusoidOfTwiceItsMagnitude) {
    Harmonics harmonics = harmonics_of(0.0151, 30, true);
    harmonics.magnitude[2] = 1000;  // 362 Hz: no noise
    Samples samples;
    synthesize(harmonics, 12, samples);
    const double frequency = harmonics.fundamental * 0x1p-32 * 3;
    const std::complex<double> line = line_at(samples, 160, samples.size(), frequency);
    EXPECT_NEAR(std::abs(line), 2000, 0.1);
    for (std::size_t n = 160; n < samples.size(); n++) {
        const double angle = 2 * M_PI * frequency * static_cast<double>(n) + std::arg(line);
        ASSERT_NEAR(samples[n], 2000 * std::cos(angle), 0.2) << n;
    }
}

TEST_P(MbeSynthesisTest, GlidingPitchHasNoStepAtFrameBorders) {
    // A low harmonic at 55 to 180 Hz: the third difference of 2000 cos is below 2000 * 0.15^3 = 6.8; a step shows.
    Samples samples;
    double fundamental = 0.009;
    for (int frame = 0; frame < 40; frame++) {
        Harmonics harmonics = harmonics_of(fundamental, 20, true);
        harmonics.magnitude[0] = 1000;
        synthesize(harmonics, 1, samples);
        fundamental *= frame < 20 ? 1.045 : 0.955;
    }
    for (std::size_t n = 163; n < samples.size(); n++) {
        const double third =
            static_cast<double>(samples[n]) - 3.0 * samples[n - 1] + 3.0 * samples[n - 2] - samples[n - 3];
        ASSERT_LT(std::fabs(third), 7.5) << n;
    }
}

TEST_P(MbeSynthesisTest, SecondSilentFrameInARowIsExactlyZero) {
    for (const bool voiced : {false, true}) {
        const Harmonics harmonics = harmonics_of(0.02, 20, voiced, 500);
        Samples samples;
        synthesize(harmonics, 5, samples);
        Samples silent;
        synthesize(harmonics_of(0.02, 20, false), 2, silent);
        EXPECT_GT(std::fabs(silent[0]) + std::fabs(silent[1]) + std::fabs(silent[2]), 1.0F);  // fades out
        for (std::size_t n = frame_samples; n < silent.size(); n++) ASSERT_EQ(silent[n], 0.0F) << n;
    }
}

TEST_P(MbeSynthesisTest, FirstFrameFadesInFromSilence) {
    const Harmonics harmonics = harmonics_of(0.02, 20, true, 500);
    Samples samples;
    synthesize(harmonics, 1, samples);
    for (std::size_t n = 0; n <= 20; n++) ASSERT_EQ(samples[n], 0.0F) << n;  // both windows are 0 up to there
}

TEST_P(MbeSynthesisTest, MoreHarmonicsThanTheSpectrumHasRoomForAreHarmless) {
    for (const bool voiced : {false, true}) {
        const Harmonics harmonics = harmonics_of(0.01493, 56, voiced, 100);
        Samples samples;
        synthesize(harmonics, 3, samples);
        for (const float sample : samples) ASSERT_LE(std::fabs(sample), 56 * 200.0F + 56 * 1000.0F);
    }
}
