// SPDX-License-Identifier: MIT
#include "synthesis/tone.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "ambe/ambe_tone.h"
#include "dongle/synthesis_versions.h"

// 160 samples a frame of the same tone frame.
class ToneTest : public DecoderVersions {
  protected:
    void next(Tone& tone, const AmbeFrame* frame, SpeechBlock& samples) {
        const ToneModel model = frame != nullptr ? ambe_tone_decode(*frame) : ToneModel{};
        std::fill_n(samples, frame_samples, 0.0F);
        version().add_tone(tone, frame != nullptr ? &model : nullptr, samples);
    }

    Samples tone_of(int raw_index, int volume, int frames) {
        Tone tone{};
        AmbeFrame frame{};
        frame.tone_index = raw_index;
        frame.tone_volume = volume;
        Samples samples(static_cast<std::size_t>(frames * frame_samples));
        for (int i = 0; i < frames; i++)
            next(tone, &frame, block_at(samples, static_cast<std::size_t>(i * frame_samples)));
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
INSTANTIATE_TEST_SUITE_P(Versions, ToneTest, every_version, version_name);

TEST_P(ToneTest, SingleTonesHaveTheirLineWithinTwoHertz) {
    for (int raw = 37; raw <= 154; raw += 3) {
        const double hertz = 31.25 * (raw - 32);
        EXPECT_NEAR(strongest_near(tone_of(raw, 200, 5), hertz), hertz, 2) << raw;
    }
}

TEST_P(ToneTest, DualTonesHaveBothLinesWithinTwoHertz) {
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

TEST_P(ToneTest, LevelFollowsTheVolume) {
    // 2^(volume / 16.934 - 1), half of it for each line of a dual tone.
    const Samples loud = tone_of(64, 255, 5);
    EXPECT_NEAR(std::abs(line_at(loud, 160, 800, 1000.0 / 8000)), std::exp2(255 / 16.934 - 1), 20);
    const Samples typical = tone_of(64, 232, 5);
    EXPECT_NEAR(std::abs(line_at(typical, 160, 800, 1000.0 / 8000)), 6650, 20);
    const Samples dual = tone_of(5, 232, 5);
    EXPECT_NEAR(std::abs(line_at(dual, 160, 800, 1336.0 / 8000)), 3325, 30);
    EXPECT_NEAR(std::abs(line_at(dual, 160, 800, 770.0 / 8000)), 3325, 30);
}

TEST_P(ToneTest, BeginsAtPhaseZeroAndFadesInAndOut) {
    Tone tone{};
    AmbeFrame frame{};
    frame.tone_index = 64;  // 1000 Hz
    frame.tone_volume = 232;
    Samples samples(2 * frame_samples);
    next(tone, &frame, block_at(samples, 0));
    next(tone, nullptr, block_at(samples, frame_samples));
    // Two cycles of eight samples grow with the fade of 16, and two fall with it at the end; between, the sine is
    // whole.
    const double peak = std::exp2(232 / 16.934 - 1);
    for (int n = 0; n < frame_samples; n++) {
        const double sine = peak * std::sin(2 * M_PI * n / 8);
        ASSERT_NEAR(samples[n], sine * std::min(n / 16.0, 1.0), 0.02) << n;
        ASSERT_NEAR(samples[160 + n], sine * std::max(1 - n / 16.0, 0.0), 0.02) << n;
    }
    for (int n = 16; n < frame_samples; n++) ASSERT_EQ(samples[160 + n], 0.0F) << n;

    next(tone, nullptr, block_at(samples, 0));
    for (int n = 0; n < frame_samples; n++) ASSERT_EQ(samples[n], 0.0F) << n;
}

TEST_P(ToneTest, OtherIndexBeginsANewTone) {
    Tone tone{};
    AmbeFrame frame{};
    frame.tone_index = 64;
    frame.tone_volume = 232;
    Samples samples(frame_samples);
    next(tone, &frame, block_at(samples, 0));
    frame.tone_index = 96;  // 2000 Hz
    next(tone, &frame, block_at(samples, 0));
    EXPECT_NEAR(std::abs(line_at(samples, 16, 160, 2000.0 / 8000)), 6650, 30);
    EXPECT_LT(std::abs(line_at(samples, 16, 160, 1000.0 / 8000)), 30);
}

TEST_P(ToneTest, NewToneBeginsAtPhaseZeroAndTheSameOneRunsOn) {
    Tone tone{};
    AmbeFrame frame{};
    Samples samples(frame_samples);
    frame.tone_volume = 232;
    frame.tone_index = 37;  // 156.25 Hz: 3.125 turns a frame
    next(tone, &frame, block_at(samples, 0));
    EXPECT_NEAR(samples[90], 6650 * std::sin(2 * M_PI * 156.25 / 8000 * 90), 20);
    next(tone, &frame, block_at(samples, 0));
    EXPECT_NEAR(samples[90], 6650 * std::sin(2 * M_PI * 156.25 / 8000 * (160 + 90)), 20);
    frame.tone_index = 64;  // 1000 Hz
    next(tone, &frame, block_at(samples, 0));
    for (int n = 16; n < frame_samples; n++)
        ASSERT_NEAR(samples[n], 6650 * std::sin(2 * M_PI * 1000 / 8000 * n), 20) << n;
}
