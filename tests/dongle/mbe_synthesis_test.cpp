// SPDX-License-Identifier: MIT
#include "synthesis/mbe_synthesis.h"

#include <gtest/gtest.h>

#include "dongle/synthesis_versions.h"

class MbeSynthesisTest : public SynthesisVersions {};
INSTANTIATE_TEST_SUITE_P(Versions, MbeSynthesisTest, every_version, version_name);

TEST_P(MbeSynthesisTest, SecondSilentFrameInARowIsExactlyZero) {
    for (const bool voiced : {false, true}) {
        Harmonics harmonics = harmonics_of(0.02, 20, voiced);
        for (int i = 0; i < 20; i++) harmonics.magnitude[i] = 500;
        Samples samples;
        synthesize(harmonics, 5, samples);
        Samples silent;
        synthesize(harmonics_of(0.02, 20, false), 2, silent);
        EXPECT_GT(std::fabs(silent[0]) + std::fabs(silent[1]) + std::fabs(silent[2]), 1.0F);  // fades out
        for (std::size_t n = frame_samples; n < silent.size(); n++) ASSERT_EQ(silent[n], 0.0F) << n;
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
