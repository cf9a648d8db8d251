// SPDX-License-Identifier: MIT
#include "pcm_output.h"

#include <gtest/gtest.h>

#include <utility>
#include <vector>

#include "dongle/arithmetic_versions.h"

class PcmOutput : public ArithmeticVersions {
  protected:
    // The sample for one value of speech and one of a tone, the same at every place of the block.
    int sample_of(float speech, float tone) {
        const std::vector<float> all_speech(synthesis_samples, speech);
        const std::vector<float> all_tone(synthesis_samples, tone);
        std::int16_t samples[synthesis_samples];
        version().pcm_output(all_speech.data(), all_tone.data(), samples);
        for (const std::int16_t sample : samples) EXPECT_EQ(sample, samples[0]);
        return samples[0];
    }
};
INSTANTIATE_TEST_SUITE_P(Versions, PcmOutput, every_version, version_name);

TEST_P(PcmOutput, SpeechIsDoubledAndATonesLevelKept) {
    EXPECT_EQ(sample_of(1000, 0), 2000);
    EXPECT_EQ(sample_of(-1000, 0), -2000);
    EXPECT_EQ(sample_of(0, 1000), 1000);
    EXPECT_EQ(sample_of(1000, -500), 1500);
}

TEST_P(PcmOutput, RoundsToTheNearestOnBothSidesOfZero) {
    for (const auto& [exact, rounded] : {
             std::pair{0.4F,     0    },
             {0.6F,     1    },
             {-0.4F,    0    },
             {-0.6F,    -1   },
             {99.7F,    100  },
             {-99.7F,   -100 },
             {32766.6F, 32767}
    })
        EXPECT_EQ(sample_of(0, exact), rounded) << exact;
}

TEST_P(PcmOutput, SaturatesAtTheSameNumberOnBothSides) {
    for (const float large : {32767.0F, 32767.6F, 32768.0F, 65536.0F, 1e9F, 1e30F}) {
        EXPECT_EQ(sample_of(0, large), 32767) << large;
        EXPECT_EQ(sample_of(0, -large), -32767) << large;
        EXPECT_EQ(sample_of(large, 0), 32767) << large;
    }
}
