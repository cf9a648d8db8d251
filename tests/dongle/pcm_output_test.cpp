// SPDX-License-Identifier: MIT
#include "synthesis/pcm_output.h"

#include <gtest/gtest.h>

#include <utility>
#include <vector>

#include "dongle/decoder_versions.h"

class PcmOutput : public DecoderVersions {
  protected:
    // The sample for one value of speech and one of a tone, the same at every place of the block.
    int sample_of(float speech, float tone) {
        std::vector<float> all_speech(frame_samples, speech);
        std::vector<float> all_tone(frame_samples, tone);
        PcmBlock samples;
        version().pcm_output(block_at(all_speech, 0), block_at(all_tone, 0), samples);
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
