// SPDX-License-Identifier: MIT
#include "synthesis/voiced.h"

#include <gtest/gtest.h>

#include "dongle/synthesis_versions.h"

class VoicedSynthesis : public SynthesisVersions {};
INSTANTIATE_TEST_SUITE_P(Versions, VoicedSynthesis, every_version, version_name);

TEST_P(VoicedSynthesis, OneVoicedHarmonicIsASinusoidOfTwiceItsMagnitude) {
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

TEST_P(VoicedSynthesis, ConstantVoiceHasNoStepAtFrameBorders) {
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

TEST_P(VoicedSynthesis, GlidingPitchHasNoStepAtFrameBorders) {
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
