// SPDX-License-Identifier: MIT
#include "speech_model.h"

#include <gtest/gtest.h>

TEST(SpeechModel, ResetIsThirtyUnvoicedHarmonicsWithoutMagnitude) {
    SpeechModel model;
    std::fill_n(reinterpret_cast<unsigned char*>(&model), sizeof model, static_cast<unsigned char>(0x3F));
    speech_model_reset(model);
    EXPECT_NEAR(model.harmonics.fundamental * 0x1p-32, 0.0149256, 1e-9);
    EXPECT_EQ(model.harmonics.count, 30);
    for (int i = 0; i < harmonic_slots; i++) {
        EXPECT_EQ(model.harmonics.magnitude[i], 0.0F);
        EXPECT_EQ(model.harmonics.voiced[i], 0U);
        EXPECT_EQ(model.log2_magnitude[i], 0.0F);
    }
}

TEST(SpeechModel, MutedHarmonicsKeepPitchAndNumber) {
    Harmonics harmonics{};
    harmonics.fundamental = 0x03000000;
    harmonics.count = 40;
    for (int i = 0; i < 40; i++) {
        harmonics.magnitude[i] = 5;
        harmonics.voiced[i] = ~0U;
    }
    harmonics_mute(harmonics);
    EXPECT_EQ(harmonics.fundamental, 0x03000000U);
    EXPECT_EQ(harmonics.count, 40);
    for (int i = 0; i < harmonic_slots; i++) {
        EXPECT_EQ(harmonics.magnitude[i], 0.0F);
        EXPECT_EQ(harmonics.voiced[i], 0U);
    }
}

TEST(SpeechModel, PhaseOfTurnsIsRoundedToTheNearest) {
    EXPECT_EQ(phase_of_turns(0.25), 0x40000000U);
    EXPECT_EQ(phase_of_turns(1.0 / 32), 0x08000000U);
    EXPECT_EQ(phase_of_turns(0x1p-33), 1U);
    EXPECT_EQ(phase_of_turns(0x1p-34), 0U);
}
