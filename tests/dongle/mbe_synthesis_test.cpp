// SPDX-License-Identifier: MIT
#include "mbe_synthesis.h"

#include <gtest/gtest.h>

#include <cmath>
#include <complex>
#include <vector>

#include "ambe_tone.h"
#include "dongle/arithmetic_versions.h"
#include "noise.h"

namespace {

using Samples = std::vector<float>;

constexpr double noise_gain = 146.643269;
constexpr double window_squares = 143.34;

Harmonics harmonics_of(double fundamental, int count, bool voiced) {
    Harmonics harmonics{};
    harmonics.fundamental = phase_of_turns(fundamental);
    harmonics.count = count;
    for (int i = 0; i < count; i++) harmonics.voiced[i] = voiced ? ~0U : 0U;
    return harmonics;
}

// Amplitude and phase of the line at `frequency` (cycles per sample) over whole frames, by projection.
std::complex<double> line_at(const Samples& samples, std::size_t from, std::size_t to, double frequency) {
    std::complex<double> sum = 0;
    double weight = 0;
    for (std::size_t n = from; n < to; n++) {
        // A Hann window keeps neighbouring lines out.
        const double w = 1 - std::cos(2 * M_PI * static_cast<double>(n - from) / static_cast<double>(to - from));
        sum += w * static_cast<double>(samples[n]) * std::polar(1.0, -2 * M_PI * frequency * static_cast<double>(n));
        weight += w;
    }
    return 2.0 * sum / weight;
}

double mean_square(const Samples& samples, std::size_t from) {
    double sum = 0;
    for (std::size_t n = from; n < samples.size(); n++) sum += static_cast<double>(samples[n]) * samples[n];
    return sum / static_cast<double>(samples.size() - from);
}

}  // namespace

class MbeSynthesisTest : public ArithmeticVersions {
  protected:
    void SetUp() override {
        ArithmeticVersions::SetUp();
        if (!IsSkipped()) version().synthesis_start(synthesis);
    }

    // Adds the samples of `frames` frames of the same harmonics to `samples`.
    void synthesize(const Harmonics& harmonics, int frames, Samples& samples) {
        for (int frame = 0; frame < frames; frame++) {
            samples.resize(samples.size() + synthesis_samples);
            version().synthesize(synthesis, harmonics, &samples[samples.size() - synthesis_samples]);
        }
    }

    MbeSynthesis synthesis;
};
INSTANTIATE_TEST_SUITE_P(Versions, MbeSynthesisTest, every_version, version_name);

TEST_P(MbeSynthesisTest, OneVoicedHarmonicIsASinusoidOfTwiceItsMagnitude) {
    // Below the eighth harmonic the sinusoid runs through, from the eighth on two frames overlap: no difference here.
    for (const int harmonic : {1, 3, 7, 8, 10, 30}) {
        version().synthesis_start(synthesis);
        Harmonics harmonics = harmonics_of(0.0151, 30, true);
        harmonics.magnitude[harmonic - 1] = 1000;
        Samples samples;
        synthesize(harmonics, 12, samples);

        const double frequency = harmonics.fundamental * 0x1p-32 * harmonic;
        const std::complex<double> line = line_at(samples, 160, samples.size(), frequency);
        EXPECT_NEAR(std::abs(line), 2000, 0.1) << harmonic;
        for (std::size_t n = 160; n < samples.size(); n++) {
            const double angle = 2 * M_PI * frequency * static_cast<double>(n) + std::arg(line);
            ASSERT_NEAR(samples[n], 2000 * std::cos(angle), 0.2) << harmonic << " " << n;
        }
    }
}

TEST_P(MbeSynthesisTest, ConstantVoiceHasNoStepAtFrameBorders) {
    // Forty harmonics in their own phases: whatever the samples are, they are one sum of cosines throughout.
    Harmonics harmonics = harmonics_of(0.0113, 40, true);
    for (int i = 0; i < 40; i++) harmonics.magnitude[i] = static_cast<float>(300 - 5 * i);
    Samples samples;
    synthesize(harmonics, 20, samples);

    std::vector<double> expected(samples.size());
    for (int harmonic = 1; harmonic <= 40; harmonic++) {
        const double frequency = harmonics.fundamental * 0x1p-32 * harmonic;
        const std::complex<double> line = line_at(samples, 320, samples.size(), frequency);
        EXPECT_NEAR(std::abs(line), 2.0 * (305 - 5 * harmonic), 0.5) << harmonic;
        for (std::size_t n = 0; n < samples.size(); n++)
            expected[n] += (line * std::polar(1.0, 2 * M_PI * frequency * static_cast<double>(n))).real();
    }
    for (std::size_t n = 320; n < samples.size(); n++) ASSERT_NEAR(samples[n], expected[n], 2) << n;
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

TEST_P(MbeSynthesisTest, UnvoicedHarmonicsAreNoiseOfTheStatedPower) {
    Harmonics harmonics = harmonics_of(1.0 / 32, 14, false);  // bands of exactly eight bins, from bin 4 to 115
    for (int i = 0; i < 14; i++) harmonics.magnitude[i] = 3;
    Samples samples;
    synthesize(harmonics, 600, samples);
    const double expected = 14 * 2 * 8 * std::pow(noise_gain * 3, 2) / (256 * window_squares);
    EXPECT_NEAR(mean_square(samples, 320) / expected, 1, 0.02);
}

TEST_P(MbeSynthesisTest, FlatUnvoicedHarmonicsAreWhiteNoise) {
    Harmonics harmonics = harmonics_of(1.0 / 32, 14, false);
    for (int i = 0; i < 14; i++) harmonics.magnitude[i] = 3;
    Samples samples;
    synthesize(harmonics, 300, samples);

    double band[16] = {};  // of 250 Hz, 8 bins each, the first from bin -4 + 8 on
    for (std::size_t at = 320; at + 256 <= samples.size(); at += 256)
        for (int m = 0; m < 128; m++) band[(m + 4) / 8 % 16] += std::norm(line_at(samples, at, at + 256, m / 256.0));
    double mean = 0;
    for (int i = 2; i < 14; i++) mean += band[i] / 12;
    for (int i = 2; i < 14; i++) EXPECT_NEAR(band[i] / mean, 1, 0.1) << i;
    EXPECT_LT(band[15] / mean, 0.15);  // above the last harmonic: what the window leaks
}

TEST_P(MbeSynthesisTest, UnvoicedHarmonicsDoNotRepeatThemselves) {
    Harmonics harmonics = harmonics_of(1.0 / 32, 14, false);
    for (int i = 0; i < 14; i++) harmonics.magnitude[i] = 3;
    Samples samples;
    synthesize(harmonics, 200, samples);
    const double power = mean_square(samples, 320);
    for (std::size_t lag = 100; lag <= 640; lag += 4) {
        double product = 0;
        for (std::size_t n = 320; n + lag < samples.size(); n++)
            product += static_cast<double>(samples[n]) * samples[n + lag];
        product /= static_cast<double>(samples.size() - 320 - lag);
        ASSERT_LT(std::fabs(product / power), 0.05) << lag;
    }
}

TEST_P(MbeSynthesisTest, SecondSilentFrameInARowIsExactlyZero) {
    for (const bool voiced : {false, true}) {
        Harmonics harmonics = harmonics_of(0.02, 20, voiced);
        for (int i = 0; i < 20; i++) harmonics.magnitude[i] = 500;
        Samples samples;
        synthesize(harmonics, 5, samples);
        Samples silent;
        synthesize(harmonics_of(0.02, 20, false), 2, silent);
        EXPECT_GT(std::fabs(silent[0]) + std::fabs(silent[1]) + std::fabs(silent[2]), 1.0F);  // fades out
        for (std::size_t n = synthesis_samples; n < silent.size(); n++) ASSERT_EQ(silent[n], 0.0F) << n;
    }
}

TEST_P(MbeSynthesisTest, FirstFrameFadesInFromSilence) {
    Harmonics harmonics = harmonics_of(0.02, 20, true);
    for (int i = 0; i < 20; i++) harmonics.magnitude[i] = 500;
    Samples samples;
    synthesize(harmonics, 1, samples);
    for (std::size_t n = 0; n <= 55; n++) ASSERT_EQ(samples[n], 0.0F) << n;  // the window is 0 up to there
}

TEST_P(MbeSynthesisTest, MoreHarmonicsThanTheSpectrumHasRoomForAreHarmless) {
    for (const bool voiced : {false, true}) {
        Harmonics harmonics = harmonics_of(0.01493, 56, voiced);
        for (int i = 0; i < 56; i++) harmonics.magnitude[i] = 100;
        Samples samples;
        synthesize(harmonics, 3, samples);
        for (const float sample : samples) ASSERT_LE(std::fabs(sample), 56 * 200.0F + 56 * 1000.0F);
    }
}

TEST(Noise, FirstValues) {
    std::uint32_t state = noise_start;
    float samples[8];
    baseline::noise_samples(state, samples, 8);
    EXPECT_NEAR(samples[0], -0.22976247, 1e-7);
    EXPECT_NEAR(samples[1], -0.89762200, 1e-7);
    EXPECT_NEAR(samples[2], 0.21420208, 1e-7);
    EXPECT_NEAR(samples[3], -0.80613132, 1e-7);

    std::uint32_t words[8];
    state = noise_start;
    baseline::noise_words(state, words, 8);
    EXPECT_EQ(words[3], 0x98D0B055U);
}

TEST(Noise, IsTheSequenceOfItsRecurrenceFromCallToCall) {
    std::uint32_t state = noise_start;
    std::uint32_t expected = noise_start;
    for (int call = 0; call < 100; call++) {
        std::uint32_t words[56];
        baseline::noise_words(state, words, 56);
        for (const std::uint32_t word : words) {
            expected = 1664525U * expected + 1013904223U;
            ASSERT_EQ(word, expected);
        }
        EXPECT_EQ(state, expected);
    }
}

// 160 samples a frame of the same tone frame.
class AmbeToneTest : public ArithmeticVersions {
  protected:
    Samples tone_of(int raw_index, int volume, int frames) {
        AmbeTone tone{};
        AmbeFrame frame{};
        frame.tone_index = raw_index;
        frame.tone_volume = volume;
        Samples samples(static_cast<std::size_t>(frames * synthesis_samples));
        for (int i = 0; i < frames; i++)
            version().tone_samples(tone, &frame, &samples[static_cast<std::size_t>(i * synthesis_samples)]);
        return samples;
    }

    // The strongest frequency within 12 Hz of `hertz`, in steps of a half.
    static double strongest_near(const Samples& samples, double hertz) {
        double best = 0;
        double strongest = 0;
        for (double f = hertz - 12; f <= hertz + 12; f += 0.5) {
            const double power = std::norm(line_at(samples, 0, samples.size(), f / 8000));
            if (power > best) {
                best = power;
                strongest = f;
            }
        }
        return strongest;
    }
};
INSTANTIATE_TEST_SUITE_P(Versions, AmbeToneTest, every_version, version_name);

TEST_P(AmbeToneTest, SingleTonesHaveTheirLineWithinTwoHertz) {
    for (int raw = 37; raw <= 154; raw += 3) {
        const double hertz = 31.25 * (raw - 32);
        EXPECT_NEAR(strongest_near(tone_of(raw, 200, 5), hertz), hertz, 2) << raw;
    }
}

TEST_P(AmbeToneTest, DualTonesHaveBothLinesWithinTwoHertz) {
    const double columns[] = {1209, 1336, 1477, 1633, 1052, 1162, 1279, 1430};  // four of DTMF, four of two-tone paging
    const double rows[][4] = {
        {697, 770, 852, 941},
        {606, 672, 743, 820}
    };
    for (int raw = 0; raw < 32; raw++) {
        const Samples samples = tone_of(raw, 200, 5);
        const double column = columns[raw / 4];
        const double row = rows[raw / 16][raw % 4];
        EXPECT_NEAR(strongest_near(samples, column), column, 2) << raw;
        EXPECT_NEAR(strongest_near(samples, row), row, 2) << raw;
    }
}

TEST_P(AmbeToneTest, LevelFollowsTheVolume) {
    // 2^(volume / 16.934 - 1), half of it for each line of a dual tone.
    const Samples loud = tone_of(64, 255, 5);
    EXPECT_NEAR(std::abs(line_at(loud, 160, 800, 1000.0 / 8000)), std::exp2(255 / 16.934 - 1), 20);
    const Samples typical = tone_of(64, 232, 5);
    EXPECT_NEAR(std::abs(line_at(typical, 160, 800, 1000.0 / 8000)), 6650, 20);
    const Samples dual = tone_of(5, 232, 5);
    EXPECT_NEAR(std::abs(line_at(dual, 160, 800, 1336.0 / 8000)), 3325, 30);
    EXPECT_NEAR(std::abs(line_at(dual, 160, 800, 770.0 / 8000)), 3325, 30);
}

TEST_P(AmbeToneTest, BeginsAtPhaseZeroAndFadesInAndOut) {
    AmbeTone tone{};
    AmbeFrame frame{};
    frame.tone_index = 64;  // 1000 Hz
    frame.tone_volume = 232;
    float samples[2 * synthesis_samples];
    version().tone_samples(tone, &frame, samples);
    version().tone_samples(tone, nullptr, samples + synthesis_samples);
    EXPECT_EQ(samples[0], 0.0F);
    // The first cycle of eight samples grows with the fade of 16; from there on the sine is whole.
    EXPECT_NEAR(samples[2], 6650.0 * 2 / 16, 20);
    EXPECT_NEAR(samples[18], 6650, 20);
    EXPECT_NEAR(samples[160 + 2], 6650.0 * 14 / 16, 20);
    for (int n = 16; n < synthesis_samples; n++) ASSERT_EQ(samples[160 + n], 0.0F) << n;

    version().tone_samples(tone, nullptr, samples);
    for (int n = 0; n < synthesis_samples; n++) ASSERT_EQ(samples[n], 0.0F) << n;
}

TEST_P(AmbeToneTest, OtherIndexBeginsANewTone) {
    AmbeTone tone{};
    AmbeFrame frame{};
    frame.tone_index = 64;
    frame.tone_volume = 232;
    float samples[synthesis_samples];
    version().tone_samples(tone, &frame, samples);
    frame.tone_index = 96;  // 2000 Hz
    version().tone_samples(tone, &frame, samples);
    const Samples second(samples, samples + synthesis_samples);
    EXPECT_NEAR(std::abs(line_at(second, 16, 160, 2000.0 / 8000)), 6650, 30);
    EXPECT_LT(std::abs(line_at(second, 16, 160, 1000.0 / 8000)), 30);
}

TEST_P(AmbeToneTest, NewToneBeginsAtPhaseZeroAndTheSameOneRunsOn) {
    AmbeTone tone{};
    AmbeFrame frame{};
    float samples[synthesis_samples];
    frame.tone_volume = 232;
    frame.tone_index = 37;  // 156.25 Hz: 3.125 turns a frame
    version().tone_samples(tone, &frame, samples);
    EXPECT_NEAR(samples[90], 6650 * std::sin(2 * M_PI * 156.25 / 8000 * 90), 20);
    version().tone_samples(tone, &frame, samples);
    EXPECT_NEAR(samples[90], 6650 * std::sin(2 * M_PI * 156.25 / 8000 * (160 + 90)), 20);
    frame.tone_index = 64;  // 1000 Hz
    version().tone_samples(tone, &frame, samples);
    for (int n = 16; n < synthesis_samples; n++)
        ASSERT_NEAR(samples[n], 6650 * std::sin(2 * M_PI * 1000 / 8000 * n), 20) << n;
}

TEST(AmbeTone, KnownIndices) {
    int known = 0;
    for (int raw = 0; raw < 256; raw++) known += tone_is_known(raw) ? 1 : 0;
    EXPECT_EQ(known, 16 + 16 + 118);
    for (const int raw : {0, 31, 37, 154}) EXPECT_TRUE(tone_is_known(raw)) << raw;
    for (const int raw : {32, 36, 155, 255}) EXPECT_FALSE(tone_is_known(raw)) << raw;
}
