// SPDX-License-Identifier: MIT
#include "ambe/ambe_decoder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <random>
#include <vector>

#include "dongle/decoder_versions.h"
#include "dongle/frame_builder.h"

namespace {

// A loud vowel, frames that cannot be believed, and a tone of 1000 Hz.
constexpr std::uint64_t voice_bits = 0xB6C7DC4875F5;
const AmbeFrameBytes voice = frame_of_voice_bits(voice_bits);
const AmbeFrameBytes bad = with_errors(voice, 0xF, 0);
const AmbeFrameBytes second_word_lost = with_errors(voice, 0, 0xF);
const AmbeFrameBytes three_and_three = with_errors(voice, 7, 7);
const AmbeFrameBytes tone = tone_frame(64, 232);

double finite_sum(const AmbeDecoder& decoder) {
    double sum = static_cast<double>(decoder.energy.mean) + decoder.energy.peak + decoder.error_rate;
    for (const float x : decoder.model.log2_magnitude) sum += static_cast<double>(x);
    for (const float x : decoder.spoken.magnitude) sum += static_cast<double>(x);
    for (const float x : decoder.synthesis.blocks.tail) sum += static_cast<double>(x);
    return sum;
}

}  // namespace

class AmbeDecoderTest : public DecoderVersions {
  protected:
    void SetUp() override {
        DecoderVersions::SetUp();
        if (!IsSkipped()) ambe_decoder_start(decoder, version());
    }

    FrameAction decode(const AmbeFrameBytes& frame) {
        ambe_decode(decoder, frame, samples);
        return decoder.action;
    }
    int loudest() const {
        int loudest = 0;
        for (const std::int16_t sample : samples) loudest = std::max(loudest, std::abs(sample));
        return loudest;
    }

    AmbeDecoder decoder;
    std::int16_t samples[frame_samples];
};
INSTANTIATE_TEST_SUITE_P(Versions, AmbeDecoderTest, every_version, version_name);

TEST_P(AmbeDecoderTest, ThreeBadFramesAreRepeatsAndTheFourthIsMute) {
    for (int i = 0; i < 10; i++) ASSERT_EQ(decode(voice), FrameAction::voice);
    EXPECT_EQ(decode(bad), FrameAction::repeat);
    EXPECT_EQ(decode(bad), FrameAction::repeat);
    EXPECT_EQ(decode(bad), FrameAction::repeat);
    EXPECT_GT(loudest(), 1000);
    EXPECT_EQ(decode(bad), FrameAction::mute);
    EXPECT_GT(loudest(), 100);  // fades out, until the windows of the synthesis end
    EXPECT_EQ(std::count(samples + 140, samples + frame_samples, 0), 20);
    EXPECT_EQ(decode(bad), FrameAction::mute);
    EXPECT_EQ(loudest(), 0);
    EXPECT_EQ(decode(voice), FrameAction::voice);
    EXPECT_EQ(decode(bad), FrameAction::repeat);
    EXPECT_EQ(decoder.counts.frames, 17);
    EXPECT_EQ(decoder.counts.repeated, 4);
    EXPECT_EQ(decoder.counts.muted, 2);
}

TEST_P(AmbeDecoderTest, ThreeErrorsInBothWordsMakeABadFrame) {
    decode(voice);
    EXPECT_EQ(decode(three_and_three), FrameAction::repeat);
    EXPECT_EQ(decode(with_errors(voice, 7, 3)), FrameAction::voice);
    EXPECT_EQ(decode(with_errors(voice, 3, 7)), FrameAction::voice);
    EXPECT_EQ(decode(with_errors(voice, 3, 15)), FrameAction::repeat);
}

TEST_P(AmbeDecoderTest, BitsAreCountedAsCorrectedInFramesThatAreBelieved) {
    decode(with_errors(voice, 7, 3));
    decode(with_errors(voice, 1, 0));
    EXPECT_EQ(decoder.counts.corrected_bits, 6);
    decode(three_and_three);
    decode(bad);  // its second word is descrambled with a guess: what was found there means nothing
    EXPECT_EQ(decoder.counts.corrected_bits, 6);
}

TEST_P(AmbeDecoderTest, GoodFrameEndsTheCountOfBadOnes) {
    for (int round = 0; round < 3; round++) {
        decoder.error_rate = 0;
        EXPECT_EQ(decode(voice), FrameAction::voice);
        for (int i = 0; i < 3; i++) EXPECT_EQ(decode(bad), FrameAction::repeat) << round << " " << i;
    }
}

TEST_P(AmbeDecoderTest, EveryFrameMovesTheErrorRate) {
    // 0.95 ER + 0.05 / 48 eT: bad, muted and tone frames count like all others. The guess of a c0 with four errors
    // makes c1 look damaged too: its count is the frame's own.
    double rate = 0;
    for (const AmbeFrameBytes& frame : {voice, with_errors(voice, 3, 1), bad, bad, bad, bad, bad, three_and_three, tone,
                                        with_errors(tone, 1, 1), voice}) {
        decode(frame);
        rate = 0.95 * rate + 0.05 / 48 * (decoder.frame.errors_c0 + decoder.frame.errors_c1);
        EXPECT_NEAR(decoder.error_rate, rate, 1e-7);
    }
    EXPECT_GT(rate, 0.02);
}

TEST_P(AmbeDecoderTest, RunningEnergiesMoveWithSpokenModelsOnly) {
    const auto moves = [&](const AmbeFrameBytes& frame, FrameAction action) {
        const RunningEnergy before = decoder.energy;
        EXPECT_EQ(decode(frame), action);
        EXPECT_EQ(decoder.energy.mean != before.mean, decoder.energy.peak != before.peak);
        return decoder.energy.mean != before.mean;
    };
    const AmbeFrameBytes silence = frame_of_voice_bits(0xF854AA9DE80A);
    EXPECT_EQ(decoder.energy.mean, 75000.0F);
    EXPECT_EQ(decoder.energy.peak, 4000000.0F);
    EXPECT_TRUE(moves(voice, FrameAction::voice));
    EXPECT_TRUE(moves(bad, FrameAction::repeat));
    EXPECT_TRUE(moves(silence, FrameAction::silence));
    EXPECT_FALSE(moves(tone, FrameAction::tone));
    EXPECT_TRUE(moves(voice, FrameAction::voice));
    EXPECT_TRUE(moves(second_word_lost, FrameAction::partial));
    for (int i = 0; i < 2; i++) EXPECT_TRUE(moves(bad, FrameAction::repeat));
    EXPECT_FALSE(moves(bad, FrameAction::mute));
}

TEST_P(AmbeDecoderTest, MuteBeginsAboveAnErrorRateOf96InAThousand) {
    // A clean frame leaves 0.95 of the rate.
    decoder.error_rate = 0.0959F / 0.95F;
    EXPECT_EQ(decode(voice), FrameAction::voice);
    decoder.error_rate = 0.0961F / 0.95F;
    EXPECT_EQ(decode(voice), FrameAction::mute);
    decoder.error_rate = 0.096F / 0.95F;  // exactly there
    ASSERT_EQ(0.95F * decoder.error_rate, 0.096F);
    EXPECT_EQ(decode(voice), FrameAction::voice);
}

TEST_P(AmbeDecoderTest, HighErrorRateMutesBadFramesToo) {
    decode(voice);
    decoder.error_rate = 0.2F;
    EXPECT_EQ(decode(bad), FrameAction::mute);
}

TEST_P(AmbeDecoderTest, MuteAndToneKeepPitchAndHarmonicsOfTheFrameBefore) {
    for (const AmbeFrameBytes& frame : {tone, voice}) {
        decode(voice);
        decode(voice);
        const Harmonics before = decoder.spoken;
        decoder.error_rate = frame == voice ? 0.2F : 0.0F;
        EXPECT_EQ(decode(frame), frame == voice ? FrameAction::mute : FrameAction::tone);
        EXPECT_EQ(decoder.spoken.fundamental, before.fundamental);
        EXPECT_EQ(decoder.spoken.count, before.count);
        decoder.error_rate = 0;
    }
}

TEST_P(AmbeDecoderTest, MuteAndToneAsTheFirstFrameHaveTheStartPitch) {
    // f0 = 1/32 and 14 harmonics, of which nothing is heard.
    for (const AmbeFrameBytes& frame : {tone, voice}) {
        ambe_decoder_start(decoder, version());
        decoder.error_rate = frame == voice ? 0.2F : 0.0F;
        EXPECT_EQ(decode(frame), frame == voice ? FrameAction::mute : FrameAction::tone);
        EXPECT_EQ(decoder.spoken.fundamental, 0x08000000U);
        EXPECT_EQ(decoder.spoken.count, 14);
    }
}

// 128 draws at the start, then 56 and 160 a frame, whatever is in it: an error early in a recording does not change the
// noise of what follows.
TEST_P(AmbeDecoderTest, EveryFrameDrawsTheSameNumberOfNoiseValues) {
    const AmbeFrameBytes silence = frame_of_voice_bits(0xF854AA9DE80A);
    std::uint32_t noise = 0x2545F491;
    const auto draw = [&](int count) {
        for (int i = 0; i < count; i++) noise = 1664525U * noise + 1013904223U;
    };
    draw(128);
    for (const AmbeFrameBytes& frame :
         {voice, silence, bad, tone, tone_frame(3, 100), voice, bad, bad, bad, bad, bad, voice}) {
        decode(frame);
        draw(56 + 160);
        ASSERT_EQ(decoder.synthesis.noise, noise) << frame_action_name(decoder.action);
    }
}

TEST_P(AmbeDecoderTest, TwoDecodersDoNotDisturbEachOther) {
    AmbeDecoder other;
    ambe_decoder_start(other, version());
    AmbeDecoder alone;
    ambe_decoder_start(alone, version());
    for (int i = 0; i < 20; i++) {
        const AmbeFrameBytes& frame = i % 6 == 5 ? bad : voice;
        std::int16_t expected[frame_samples];
        ambe_decode(alone, frame, expected);
        decode(frame);
        EXPECT_TRUE(std::equal(samples, samples + frame_samples, expected)) << i;
        std::int16_t ignored[frame_samples];
        ambe_decode(other, tone_frame(static_cast<unsigned>(i), 232), ignored);
        ambe_decode(other, bad, ignored);
    }
}

TEST_P(AmbeDecoderTest, RepeatLeavesThePredictionAsItWas) {
    for (int i = 0; i < 5; i++) decode(voice);
    const SpeechModel before = decoder.model;
    decode(bad);
    EXPECT_TRUE(
        std::equal(before.log2_magnitude, before.log2_magnitude + harmonic_slots, decoder.model.log2_magnitude));
}

TEST_P(AmbeDecoderTest, RepeatIsEnhancedAndSmoothedAfresh) {
    // The same model, but with the error rate, the errors and the running energies of this frame.
    for (int i = 0; i < 5; i++) decode(voice);
    decoder.error_rate = 0.09F;
    Harmonics expected = decoder.model.harmonics;
    RunningEnergy energy = decoder.energy;
    EXPECT_EQ(decode(bad), FrameAction::repeat);
    version().harmonics_enhance(expected, energy,
                                {decoder.error_rate, decoder.frame.errors_c0 + decoder.frame.errors_c1});
    EXPECT_TRUE(std::equal(expected.magnitude, expected.magnitude + harmonic_slots, decoder.spoken.magnitude));
    EXPECT_TRUE(std::equal(expected.voiced, expected.voiced + harmonic_slots, decoder.spoken.voiced));
    EXPECT_EQ(energy.mean, decoder.energy.mean);
    EXPECT_EQ(energy.peak, decoder.energy.peak);
}

TEST_P(AmbeDecoderTest, BadFrameWhoseFirstWordIsGoodIsAPartialRepeat) {
    const AmbeFrameBytes other = frame_of_voice_bits(0xC1A7DC4875F4);  // another pitch and gain
    for (const std::uint32_t c0_errors : {0U, 1U}) {
        ambe_decoder_start(decoder, version());
        for (int i = 0; i < 5; i++) decode(voice);
        SpeechModel expected = decoder.model;
        EXPECT_EQ(decode(with_errors(other, c0_errors, 0xF)), FrameAction::partial);
        version().model_repeat_shape(decoder.frame, expected);
        EXPECT_NE(expected.harmonics.fundamental, 0U);
        EXPECT_EQ(decoder.model.harmonics.fundamental, expected.harmonics.fundamental);
        EXPECT_TRUE(std::equal(expected.log2_magnitude, expected.log2_magnitude + harmonic_slots,
                               decoder.model.log2_magnitude));
        EXPECT_EQ(decoder.bad_frames, 1);

        // It is the model to repeat now.
        EXPECT_EQ(decode(bad), FrameAction::repeat);
        EXPECT_EQ(decoder.spoken.fundamental, expected.harmonics.fundamental);
        EXPECT_EQ(decoder.counts.repeated, 2);
    }
}

TEST_P(AmbeDecoderTest, NoPartialRepeatWithMoreErrorsInTheFirstWord) {
    decode(voice);
    EXPECT_EQ(decode(with_errors(voice, 3, 0xF)), FrameAction::repeat);
}

TEST_P(AmbeDecoderTest, NoPartialRepeatOfSilenceAndTones) {
    decode(voice);
    EXPECT_EQ(decode(with_errors(frame_of_voice_bits(0xF854AA9DE80A), 0, 0xF)), FrameAction::repeat);
    EXPECT_EQ(decode(with_errors(tone, 0, 0xF)), FrameAction::repeat);
}

TEST_P(AmbeDecoderTest, NoPartialRepeatWithoutASpectrumToTakeTheShapeFrom) {
    EXPECT_EQ(decode(second_word_lost), FrameAction::repeat);
    decode(voice);
    decode(tone);
    EXPECT_EQ(decode(second_word_lost), FrameAction::repeat);
    EXPECT_EQ(decode(voice), FrameAction::voice);
    EXPECT_EQ(decode(second_word_lost), FrameAction::partial);
}

TEST_P(AmbeDecoderTest, PartialRepeatsCountAsBadFrames) {
    decode(voice);
    for (int i = 0; i < 3; i++) EXPECT_EQ(decode(second_word_lost), FrameAction::partial);
    EXPECT_EQ(decode(second_word_lost), FrameAction::mute);
    decode(voice);
    decoder.error_rate = 0.2F;
    EXPECT_EQ(decode(second_word_lost), FrameAction::mute);
}

TEST_P(AmbeDecoderTest, MuteResetsTheModelAndKeepsTheRest) {
    for (int i = 0; i < 5; i++) decode(voice);
    const RunningEnergy energy = decoder.energy;
    decoder.error_rate = 0.2F;
    EXPECT_EQ(decode(voice), FrameAction::mute);
    EXPECT_NEAR(decoder.model.harmonics.fundamental * 0x1p-32, 0.0149256, 1e-9);
    EXPECT_EQ(decoder.model.harmonics.count, 30);
    for (int i = 0; i < harmonic_slots; i++) {
        EXPECT_EQ(decoder.model.log2_magnitude[i], 0.0F);
        EXPECT_EQ(decoder.model.harmonics.magnitude[i], 0.0F);
    }
    EXPECT_EQ(decoder.energy.mean, energy.mean);
    EXPECT_EQ(decoder.energy.peak, energy.peak);
    EXPECT_NEAR(decoder.error_rate, 0.19, 1e-6);
}

TEST_P(AmbeDecoderTest, BadFrameAtTheMuteRateStillCounts) {
    // Four bad frames in a row, the first two muted by the rate alone: the fourth is muted by its number.
    decode(voice);
    decoder.error_rate = 0.2F;
    EXPECT_EQ(decode(bad), FrameAction::mute);
    decoder.error_rate = 0;
    EXPECT_EQ(decode(bad), FrameAction::repeat);
    EXPECT_EQ(decode(bad), FrameAction::repeat);
    EXPECT_EQ(decode(bad), FrameAction::mute);
}

TEST_P(AmbeDecoderTest, HighErrorRateMutesGoodFramesUntilItHasFallen) {
    // 0.05 / 48 * 5 a frame tends to 0.104, which is above 0.096.
    const AmbeFrameBytes damaged = with_errors(voice, 7, 3);
    int spoken = 0;
    while (decode(damaged) == FrameAction::voice) ASSERT_LT(++spoken, 1000);
    EXPECT_EQ(decoder.action, FrameAction::mute);
    EXPECT_GT(decoder.error_rate, 0.096F);
    EXPECT_EQ(decode(damaged), FrameAction::mute);
    EXPECT_EQ(loudest(), 0);
    // One clean frame takes a twentieth of the rate away, which is enough.
    EXPECT_EQ(decode(voice), FrameAction::voice);
}

TEST_P(AmbeDecoderTest, BadFramesBeforeTheFirstGoodOneAreSilent) {
    for (int i = 0; i < 8; i++) {
        EXPECT_EQ(decode(bad), i < 3 ? FrameAction::repeat : FrameAction::mute);
        EXPECT_EQ(loudest(), 0);
    }
}

TEST_P(AmbeDecoderTest, ToneFramesSoundAndResetTheModel) {
    decode(voice);
    EXPECT_EQ(decode(tone), FrameAction::tone);
    EXPECT_EQ(decode(tone), FrameAction::tone);
    EXPECT_NEAR(loudest(), 6650, 70);
    for (const float x : decoder.model.log2_magnitude) ASSERT_EQ(x, 0.0F);
}

TEST_P(AmbeDecoderTest, ToneFramesWithManyErrorsAreBad) {
    const struct {
        std::uint32_t c0, c1;
        FrameAction action;
    } rows[] = {
        {1, 1, FrameAction::tone  },
        {0, 3, FrameAction::tone  },
        {3, 0, FrameAction::repeat},
        {0, 7, FrameAction::repeat},
        {1, 3, FrameAction::repeat},
    };
    for (const auto& row : rows) EXPECT_EQ(decode(with_errors(tone, row.c0, row.c1)), row.action) << row.c0 << row.c1;
}

TEST_P(AmbeDecoderTest, ToneFramesOfUnknownIndexAreBad) {
    for (unsigned index = 0; index < 256; index++) {
        const bool known = index < 32 || (index > 36 && index < 155);
        ambe_decoder_start(decoder, version());
        EXPECT_EQ(decode(tone_frame(index, 232)), known ? FrameAction::tone : FrameAction::repeat) << index;
        EXPECT_EQ(loudest() != 0, known) << index;
    }
}

TEST_P(AmbeDecoderTest, StartMakesItAFreshDecoder) {
    std::vector<std::int16_t> first;
    for (int run = 0; run < 2; run++) {
        ambe_decoder_start(decoder, version());
        std::vector<std::int16_t> pcm;
        for (int i = 0; i < 30; i++) {
            decode(i % 7 == 6 ? bad : voice);
            pcm.insert(pcm.end(), samples, samples + frame_samples);
        }
        if (run == 0) first = pcm;
        EXPECT_EQ(pcm, first);
    }
}

// Whatever the bits, the state stays finite and the magnitudes within their limit: then so do the samples.
class AmbeDecoderStress : public AmbeDecoderTest {
  protected:
    void decode_and_check(const AmbeFrameBytes& frame) {
        decode(frame);
        ASSERT_TRUE(std::isfinite(finite_sum(decoder)));
        double amplitude = 0;
        for (const float x : decoder.spoken.magnitude) amplitude += static_cast<double>(x);
        ASSERT_LE(amplitude, 40960 * 1.0001);
        ASSERT_GE(*std::min_element(samples, samples + frame_samples), -32767);
    }
};
INSTANTIATE_TEST_SUITE_P(Versions, AmbeDecoderStress, testing::Values(&decoder_version_of_this_processor()),
                         version_name);

TEST_P(AmbeDecoderStress, MillionFramesOfArbitraryBytes) {
    std::mt19937 random(20240501);
    for (int i = 0; i < 1000000; i++) {
        AmbeFrameBytes frame;
        for (std::uint8_t& byte : frame) byte = static_cast<std::uint8_t>(random());
        decode_and_check(frame);
        if (HasFatalFailure()) FAIL() << "frame " << i;
    }
}

TEST_P(AmbeDecoderStress, ArbitraryVoiceBitsOnACleanChannel) {
    std::mt19937_64 random(20240502);
    for (int i = 0; i < 200000; i++) {
        decode_and_check(frame_of_voice_bits(random() >> 16));
        if (HasFatalFailure()) FAIL() << "frame " << i;
    }
}

TEST_P(AmbeDecoderStress, LoudestFieldsAgainAndAgain) {
    // All ones but for the pitch, then all pitches in turn with the highest gain.
    for (int i = 0; i < 2000; i++) {
        const auto pitch = static_cast<std::uint64_t>(i % 124);
        decode_and_check(frame_of_voice_bits((pitch >> 1) << 42 | 0x3FFFFFFFFFEULL | (pitch & 1)));
        if (HasFatalFailure()) FAIL() << "frame " << i;
    }
}
