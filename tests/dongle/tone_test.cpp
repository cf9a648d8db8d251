// SPDX-License-Identifier: MIT
#include "synthesis/tone.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "ambe/ambe_tone.h"
#include "dongle/frame_builder.h"
#include "dongle/synthesis_versions.h"

namespace {

constexpr int typical_volume = 232;

double peak_of(int volume) {
    return std::exp2(volume / 16.934 - 1);
}

// Sample n of the tone from its start on, its lines beginning at phase zero; a dual tone has half the peak in each.
double sample_of(int raw_index, int volume, int n) {
    const auto [first, second] = tone_lines(static_cast<unsigned>(raw_index));
    const double sum = std::sin(2 * M_PI * first / 8000 * n) + std::sin(2 * M_PI * second / 8000 * n);
    return (second > 0 ? peak_of(volume) / 2 : peak_of(volume)) * sum;
}

}  // namespace

class ToneTest : public DecoderVersions {
  protected:
    void SetUp() override {
        DecoderVersions::SetUp();
        tone = {};
    }

    // The next frame of the tone.
    void next(int raw_index, int volume = typical_volume) {
        AmbeFrame frame{};
        frame.tone_index = raw_index;
        frame.tone_volume = volume;
        const ToneModel model = ambe_tone_decode(frame);
        next(&model);
    }
    void next(const ToneModel* model) {
        std::fill_n(samples, frame_samples, 0.0F);
        version().add_tone(tone, model, samples);
    }

    // What `next` gave is the tone, `passed` samples after its start.
    void expect_tone(int raw_index, int volume, int passed) const {
        for (int n = passed == 0 ? 16 : 0; n < frame_samples; n++)  // behind the fade
            ASSERT_NEAR(samples[n], sample_of(raw_index, volume, passed + n), 1e-4 * peak_of(volume))
                << raw_index << " " << volume << " " << passed + n;
    }

    Tone tone;
    SpeechBlock samples;
};
INSTANTIATE_TEST_SUITE_P(Versions, ToneTest, every_version, version_name);

TEST_P(ToneTest, EveryToneIsTheSumOfItsLinesFromFrameToFrame) {
    for (int raw = 0; raw < 256; raw++) {
        if (!tone_is_known(raw)) continue;
        tone = {};
        for (int frame = 0; frame < 5; frame++) {
            next(raw);
            expect_tone(raw, typical_volume, frame * frame_samples);
        }
    }
}

TEST_P(ToneTest, LevelFollowsTheVolume) {
    for (const int raw : {5, 64})
        for (int volume = 0; volume < 256; volume++) {
            tone = {};
            next(raw, volume);
            expect_tone(raw, volume, 0);
        }
    // The two peaks that are known by number: 1000 Hz is at its crest two samples behind every eighth.
    for (const auto& [volume, peak] : {
             std::pair{255, 17000},
             {232, 6650 }
    }) {
        tone = {};
        next(64, volume);
        EXPECT_NEAR(samples[18], peak, 0.02 * peak);
    }
}

TEST_P(ToneTest, FadesInAndOutOverSixteenSamples) {
    next(64);
    for (int n = 0; n < frame_samples; n++)
        ASSERT_NEAR(samples[n], sample_of(64, typical_volume, n) * std::min(n / 16.0, 1.0), 0.02) << n;
    next(nullptr);
    for (int n = 0; n < 16; n++)
        ASSERT_NEAR(samples[n], sample_of(64, typical_volume, frame_samples + n) * (1 - n / 16.0), 0.02) << n;
    for (int n = 16; n < frame_samples; n++) ASSERT_EQ(samples[n], 0.0F) << n;
    next(nullptr);
    for (const float sample : samples) ASSERT_EQ(sample, 0.0F);
}

TEST_P(ToneTest, NewToneBeginsAtPhaseZeroAndTheSameOneRunsOn) {
    next(37);  // 156.25 Hz: 3.125 turns a frame
    next(37);
    expect_tone(37, typical_volume, frame_samples);
    next(64);
    expect_tone(64, typical_volume, 0);
}
