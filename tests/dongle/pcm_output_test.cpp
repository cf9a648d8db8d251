// SPDX-License-Identifier: MIT
#include "synthesis/pcm_output.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <random>
#include <utility>

#include "dongle/decoder_versions.h"
#include "dongle/plain_synthesis.h"

class PcmOutput : public DecoderVersions {
  protected:
    // 160 samples of one value, after what came before.
    void constant(float value) {
        SpeechBlock speech;
        std::fill_n(speech, frame_samples, value);
        version().pcm_output(limiter, speech, samples);
    }

    Limiter limiter;
    PcmSamples samples;
};
INSTANTIATE_TEST_SUITE_P(Versions, PcmOutput, every_version, version_name);

TEST_P(PcmOutput, RoundsToTheNearestOnBothSidesOfZero) {
    for (const auto& [exact, rounded] : {
             std::pair{0.0F,     0    },
             {0.4F,     0    },
             {0.6F,     1    },
             {-0.4F,    0    },
             {-0.6F,    -1   },
             {99.7F,    100  },
             {-99.7F,   -100 },
             {31999.6F, 32000}
    }) {
        constant(exact);
        for (const std::int16_t sample : samples) EXPECT_EQ(sample, rounded) << exact;
    }
}

TEST_P(PcmOutput, SamplesUpToThePeakPassUnchanged) {
    SpeechBlock speech;
    for (int n = 0; n < frame_samples; n++) speech[n] = static_cast<float>(n % 2 == 0 ? 200 * n : -200 * n);
    version().pcm_output(limiter, speech, samples);
    for (int n = 0; n < frame_samples; n++) EXPECT_EQ(samples[n], n % 2 == 0 ? 200 * n : -200 * n);
    constant(32000);
    for (const std::int16_t sample : samples) EXPECT_EQ(sample, 32000);
    EXPECT_EQ(limiter.gain, 1.0F);
}

// One sample of 64000 asks for half the gain: 1 - n / 96 up to n = 48, then 1/2.
TEST_P(PcmOutput, GainFallsWithinSixMilliseconds) {
    for (const float peak : {64000.0F, -64000.0F}) {
        SpeechBlock speech;
        std::fill_n(speech, frame_samples, 9600.0F);
        speech[159] = peak;
        limiter = Limiter{};
        version().pcm_output(limiter, speech, samples);
        EXPECT_EQ(limiter.gain, 0.5F);
        for (int n = 0; n < 48; n++) EXPECT_EQ(samples[n], 9600 - 100 * n) << n;
        for (int n = 48; n < 159; n++) EXPECT_EQ(samples[n], 4800) << n;
        EXPECT_EQ(samples[159], peak > 0 ? 32000 : -32000);
    }
}

// From 1/2 the gain goes to 0.55 over the whole frame: 16000 (0.5 + 0.05 n / 160) = 8000 + 5 n.
TEST_P(PcmOutput, GainRisesATwentiethOverAFrame) {
    limiter.gain = 0.5F;
    constant(16000);
    EXPECT_FLOAT_EQ(limiter.gain, 0.55F);
    for (int n = 0; n < frame_samples; n++) EXPECT_NEAR(samples[n], 8000 + 5 * n, 0.51) << n;
    for (int frame = 1; frame < 10; frame++) constant(16000);
    EXPECT_EQ(limiter.gain, 1.0F);
    constant(16000);
    for (const std::int16_t sample : samples) EXPECT_EQ(sample, 16000);
}

TEST_P(PcmOutput, GainRisesNoFurtherThanThePeakAllows) {
    limiter.gain = 0.5F;
    constant(60000);  // 32000 / 60000 = 0.533
    EXPECT_FLOAT_EQ(limiter.gain, 32000.0F / 60000.0F);
    EXPECT_EQ(samples[0], 30000);
    for (int n = 0; n < frame_samples; n++) EXPECT_NEAR(samples[n], 30000 + 12.5 * n, 0.51) << n;
}

TEST_P(PcmOutput, SilenceLetsTheGainRise) {
    limiter.gain = 0.5F;
    constant(0);
    EXPECT_FLOAT_EQ(limiter.gain, 0.55F);
    for (const std::int16_t sample : samples) EXPECT_EQ(sample, 0);
}

TEST_P(PcmOutput, LimiterStartsAtAGainOfOne) {
    EXPECT_EQ(Limiter{}.gain, 1.0F);
}

// What is too loud before the gain has fallen is cut off.
TEST_P(PcmOutput, SaturatesAtTheSameNumberOnBothSides) {
    for (const float large : {32767.6F, 40000.0F, 65536.0F, 1e6F})
        for (const int sign : {-1, 1}) {
            limiter = Limiter{};
            constant(static_cast<float>(sign) * large);
            EXPECT_EQ(samples[0], sign * 32767) << large;
            for (int n = 48; n < frame_samples; n++) EXPECT_EQ(samples[n], sign * 32000) << large << " " << n;
        }
}

TEST_P(PcmOutput, NothingIsTooLoudForTheLastLimit) {
    for (const float large : {1e9F, 1e30F})
        for (const int sign : {-1, 1}) {
            limiter = Limiter{};
            constant(static_cast<float>(sign) * large);
            EXPECT_EQ(samples[0], sign * 32767) << large;
            for (const std::int16_t sample : samples) EXPECT_LE(std::abs(sample), 32767) << large;
        }
}

TEST_P(PcmOutput, FrameUnderTheLimiterNeverExceedsItAfterSixMilliseconds) {
    std::mt19937 random(11);
    std::uniform_real_distribution<float> value(-1, 1);
    std::uniform_real_distribution<float> loudness(3, 6);
    for (int frame = 0; frame < 3000; frame++) {
        SpeechBlock speech;
        const float level = std::pow(10.0F, loudness(random));
        for (float& sample : speech) sample = level * value(random);
        version().pcm_output(limiter, speech, samples);
        for (int n = 48; n < frame_samples; n++) ASSERT_LE(std::abs(samples[n]), 32000) << frame << " " << n;
    }
}

TEST_P(PcmOutput, IsThatOfThePlainFormulas) {
    std::mt19937 random(12);
    std::uniform_real_distribution<float> value(-1, 1);
    std::vector<double> all;
    Pcm decoded;
    for (int frame = 0; frame < 300; frame++) {
        SpeechBlock speech;
        const float level = frame % 20 < 3 ? 90000.0F : 20000.0F;
        for (float& sample : speech) sample = level * value(random);
        version().pcm_output(limiter, speech, samples);
        all.insert(all.end(), speech, speech + frame_samples);
        decoded.insert(decoded.end(), samples, samples + frame_samples);
    }
    const Pcm expected = plain_limiter(all);
    for (std::size_t n = 0; n < expected.size(); n++) ASSERT_NEAR(decoded[n], expected[n], 1) << n;
}
