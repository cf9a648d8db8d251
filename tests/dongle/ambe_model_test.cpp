// SPDX-License-Identifier: MIT
// The golden parameter files, every column of them, and what they say of frames with errors.
#include "ambe/ambe_model.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <sstream>

#include "ambe/ambe_decoder.h"
#include "ambe/ambe_tables.h"
#include "dongle/decoder_versions.h"
#include "dongle/frame_fields.h"
#include "dongle/golden_table.h"

namespace {

// Collects what differs in one frame.
struct Difference {
    std::ostringstream text;

    void whole_number(const GoldenRow& row, const std::string& column, int value) {
        if (row.at(column).empty() || whole(row, column) != value) text << column << " is " << value << "; ";
    }
    void close(const std::string& column, double expected, double value, double tolerance) {
        if (!(std::fabs(value - expected) <= tolerance))
            text << column << " is " << value << " and not " << expected << "; ";
    }
    void word(const GoldenRow& row, const std::string& column, const std::string& value) {
        if (row.at(column) != value) text << column << " is " << value << "; ";
    }
};

double either(double expected, double relative, double absolute) {
    return std::max(std::fabs(expected) * relative, absolute);
}

std::string voicing_text(const Harmonics& harmonics) {
    std::string text;
    for (int i = 0; i < harmonics.count; i++) text += harmonics.voiced[i] != 0 ? '1' : '0';
    return text;
}

void compare_numbers(Difference& difference, const GoldenRow& row, const std::string& column, const float* values,
                     double relative, double absolute) {
    const std::vector<double> expected = reals(row, column);
    for (std::size_t i = 0; i < expected.size(); i++)
        difference.close(column + "[" + std::to_string(i + 1) + "]", expected[i], static_cast<double>(values[i]),
                         std::fabs(expected[i]) * relative + absolute);
}

void compare_frame(Difference& difference, const GoldenRow& row, const AmbeDecoder& decoder) {
    difference.whole_number(row, "e0", decoder.frame.errors_c0);
    difference.whole_number(row, "e1", decoder.frame.errors_c1);
    difference.word(row, "action", frame_action_name(decoder.action));
    difference.close("er", real(row, "er"), static_cast<double>(decoder.error_rate),
                     either(real(row, "er"), 1e-5, 1e-6));
    for (int i = 0; i < 9; i++) difference.whole_number(row, "b" + std::to_string(i), decoder.frame.*frame_fields[i]);
}

// The tone index counts DTMF from 128, KNOX from 144 and single tones in steps of 31.25 Hz.
void compare_tone(Difference& difference, const GoldenRow& row, const AmbeDecoder& decoder) {
    const int raw = decoder.frame.tone_index;
    difference.whole_number(row, "tone", raw < 32 ? 128 + raw : raw - 32);
    difference.whole_number(row, "volume", decoder.frame.tone_volume);
}

void compare_silenced(Difference& difference, const GoldenRow& row, const AmbeDecoder& decoder) {
    for (const char* column : {"f0", "L", "gamma", "voiced", "log2M", "M", "voiced_out", "M_out"})
        difference.word(row, column, "");
    for (const float magnitude : decoder.spoken.magnitude)
        difference.close("M_out", 0, static_cast<double>(magnitude), 0);
}

// gamma is the mean of the log magnitudes plus log2(L) / 2; that of the reset model, which has no magnitudes, is 0.
double gain_of(const SpeechModel& model) {
    const int harmonics = model.harmonics.count;
    if (model.harmonics.magnitude[0] == 0) return 0;
    double sum = 0;
    for (int i = 0; i < harmonics; i++) sum += static_cast<double>(model.log2_magnitude[i]);
    return sum / harmonics + 0.5 * std::log2(harmonics);
}

void compare_model(Difference& difference, const GoldenRow& row, const AmbeDecoder& decoder) {
    const Harmonics& harmonics = decoder.model.harmonics;
    difference.close("f0", real(row, "f0"), harmonics.fundamental * 0x1p-32, either(real(row, "f0"), 1e-5, 1e-6));
    difference.whole_number(row, "L", harmonics.count);
    difference.close("gamma", real(row, "gamma"), gain_of(decoder.model), either(real(row, "gamma"), 1e-5, 1e-6));
    difference.word(row, "voiced", voicing_text(harmonics));
    const auto count = static_cast<std::size_t>(harmonics.count);
    for (const char* column : {"log2M", "M", "M_out"})
        if (reals(row, column).size() != count) difference.text << column << " has another number of values; ";
    compare_numbers(difference, row, "log2M", decoder.model.log2_magnitude, 0, 1e-3);
    compare_numbers(difference, row, "M", harmonics.magnitude, 1e-3, 0);
    compare_numbers(difference, row, "M_out", decoder.spoken.magnitude, 2e-3, 0);
}

std::string difference_of(const GoldenRow& row, const AmbeDecoder& decoder) {
    Difference difference;
    compare_frame(difference, row, decoder);
    if (decoder.action == FrameAction::tone)
        compare_tone(difference, row, decoder);
    else
        for (const char* column : {"tone", "volume"}) difference.word(row, column, "");
    if (decoder.action == FrameAction::tone || decoder.action == FrameAction::mute)
        compare_silenced(difference, row, decoder);
    else
        compare_model(difference, row, decoder);
    return difference.text.str();
}

int voicing_differences(const GoldenRow& row, const AmbeDecoder& decoder) {
    const std::string expected = row.at("voiced_out");
    if (expected.empty()) return 0;
    const std::string value = voicing_text(decoder.spoken);
    int differences =
        static_cast<int>(std::max(expected.size(), value.size()) - std::min(expected.size(), value.size()));
    for (std::size_t i = 0; i < std::min(expected.size(), value.size()); i++)
        differences += expected[i] != value[i] ? 1 : 0;
    return differences;
}

}  // namespace

class AmbeModel : public DecoderVersions {
  protected:
    void SetUp() override {
        DecoderVersions::SetUp();
        if (!IsSkipped()) ambe_decoder_start(decoder, version());
    }

    // Decodes all of `name`; fails with the first frame that differs. Returns how many harmonics are voiced otherwise.
    int compare_with_golden(const std::string& name) {
        const std::vector<GoldenRow> rows = golden_table("golden/" + name + ".csv");
        const std::vector<AmbeFrameBytes> frames = raw_frames("golden/" + name + ".raw12");
        EXPECT_EQ(rows.size(), frames.size());
        int voiced_otherwise = 0;
        for (std::size_t i = 0; i < frames.size(); i++) {
            std::int16_t samples[frame_samples];
            ambe_decode(decoder, frames[i], samples);
            const std::string difference = difference_of(rows[i], decoder);
            EXPECT_EQ(difference, "") << "first difference: frame " << i;
            if (!difference.empty()) return voiced_otherwise;
            voiced_otherwise += voicing_differences(rows[i], decoder);
        }
        return voiced_otherwise;
    }

    AmbeDecoder decoder;
};
INSTANTIATE_TEST_SUITE_P(Versions, AmbeModel, every_version, version_name);

TEST_P(AmbeModel, SixHundredFramesOfTheStory) {
    EXPECT_EQ(compare_with_golden("story_600"), 0);
}

TEST_P(AmbeModel, SilenceTonesAndBadTones) {
    EXPECT_EQ(compare_with_golden("special"), 0);
}

TEST_P(AmbeModel, StoryWithBitErrorsRepeatsAndMutes) {
    EXPECT_LE(compare_with_golden("story_600_errors"), 2);
}

TEST_P(AmbeModel, LimitsThatSpeechSeldomMeets) {
    EXPECT_LE(compare_with_golden("stress"), 2);
}

TEST_P(AmbeModel, SilenceIsFourteenUnvoicedHarmonicsWhateverTheVoicingField) {
    AmbeFrame frame{};
    frame.pitch_index = silence_pitch;
    frame.voicing_index = 15;
    version().model_decode(frame, decoder.model);
    EXPECT_EQ(decoder.model.harmonics.count, 14);
    EXPECT_EQ(decoder.model.harmonics.fundamental, 0x08000000U);  // 1/32
    EXPECT_EQ(voicing_text(decoder.model.harmonics), "00000000000000");
}

TEST_P(AmbeModel, MagnitudesAreTwoToTheirLogarithmHoweverLoud) {
    // The highest gain, gamma = twice 5.352783, again and again: harmonics far above any encoder's come out.
    double loudest = 0;
    for (int i = 0; i < 1000; i++) {
        AmbeFrame frame{};
        frame.pitch_index = i * 7 % voice_pitches;
        frame.voicing_index = i % 16;
        frame.gain_index = 63;
        frame.prba24_index = i * 37 % 512;
        frame.prba58_index = i % 128;
        version().model_decode(frame, decoder.model);
        const Harmonics& harmonics = decoder.model.harmonics;
        const double unvoiced = 0.2046 / std::sqrt(2 * M_PI * harmonics.fundamental * 0x1p-32);
        for (int l = 0; l < harmonics.count; l++) {
            const double factor = harmonics.voiced[l] != 0 ? 1 : unvoiced;
            const double expected = factor * std::exp2(static_cast<double>(decoder.model.log2_magnitude[l]));
            ASSERT_NEAR(harmonics.magnitude[l] / expected, 1, 1e-6) << i << " " << l;
            loudest = std::max(loudest, static_cast<double>(decoder.model.log2_magnitude[l]));
        }
    }
    EXPECT_NEAR(gain_of(decoder.model), 2 * 5.352783, 1e-4);
    EXPECT_GT(loudest, 14);
}

TEST_P(AmbeModel, EveryPitchHasItsFrequencyAndHarmonics) {
    for (int b0 = 0; b0 < voice_pitches; b0++) {
        AmbeFrame frame{};
        frame.pitch_index = b0;
        version().model_decode(frame, decoder.model);
        EXPECT_EQ(decoder.model.harmonics.count, pitch_table[b0].harmonics) << b0;
        EXPECT_NEAR(decoder.model.harmonics.fundamental * 0x1p-32, pitch_table[b0].fundamental, 2e-10) << b0;
    }
}

TEST_P(AmbeModel, EveryHarmonicIsVoicedAsItsBandOf500Hertz) {
    for (int b0 = 0; b0 < voice_pitches; b0++)
        for (int b1 = 0; b1 < 16; b1++) {
            AmbeFrame frame{};
            frame.pitch_index = b0;
            frame.voicing_index = b1;
            version().model_decode(frame, decoder.model);
            std::string expected;
            for (int l = 1; l <= pitch_table[b0].harmonics; l++) {
                const int band = static_cast<int>(std::floor(16 * l * pitch_table[b0].fundamental));
                expected += voicing_table[b1][band] != 0 ? '1' : '0';
            }
            ASSERT_EQ(voicing_text(decoder.model.harmonics), expected) << b0 << " " << b1;
            for (int i = pitch_table[b0].harmonics; i < harmonic_slots; i++)
                ASSERT_EQ(decoder.model.harmonics.voiced[i], 0U);
        }
}

TEST_P(AmbeModel, GainHasNoMemory) {
    for (const int before : {0, 20, 63}) {
        AmbeFrame frame{};
        frame.pitch_index = 60;
        frame.gain_index = before;
        version().model_decode(frame, decoder.model);
        frame.gain_index = 40;
        version().model_decode(frame, decoder.model);
        EXPECT_NEAR(gain_of(decoder.model), 2 * static_cast<double>(gain_table[40]), 1e-5) << before;
    }
}

TEST_P(AmbeModel, FourFifthsOfTheShapeBeforeArePredicted) {
    // The same frame again and again, from the reset model: T, T + 0.8 T, T + 0.8 (T + 0.8 T), ...
    AmbeFrame frame{};
    frame.pitch_index = 60;
    frame.prba24_index = 100;
    frame.prba58_index = 50;
    frame.hoc1_index = 3;
    frame.hoc4_index = 5;
    version().model_decode(frame, decoder.model);
    const SpeechModel first = decoder.model;
    const int harmonics = first.harmonics.count;
    const double level = -0.5 * std::log2(harmonics);  // the gain of index 0 is 0
    double share = 1;
    for (int repetition = 0; repetition < 40; repetition++) {
        for (int i = 0; i < harmonics; i++) {
            const double residual = static_cast<double>(first.log2_magnitude[i]) - level;
            ASSERT_NEAR(decoder.model.log2_magnitude[i], level + share * residual, 1e-4) << repetition << " " << i;
        }
        version().model_decode(frame, decoder.model);
        share = 1 + 0.8 * share;
    }
    EXPECT_NEAR(share, 5, 0.001);
}

namespace {

// p_l at k = l L(-1) / L, between the log magnitudes of the frame before; the first and the last go on outwards.
std::vector<double> stretched(const SpeechModel& before, int harmonics) {
    const int count = before.harmonics.count;
    const auto log2_of = [&](int l) {
        return static_cast<double>(before.log2_magnitude[std::min(std::max(l, 1), count) - 1]);
    };
    std::vector<double> p;
    for (int l = 1; l <= harmonics; l++) {
        const double k = static_cast<double>(l) * count / harmonics;
        const int n = static_cast<int>(k);
        p.push_back((1 - (k - n)) * log2_of(n) + (k - n) * log2_of(n + 1));
    }
    return p;
}

}  // namespace

TEST_P(AmbeModel, LostShapeIsTheOneBeforeStretchedToTheNewHarmonics) {
    for (const auto& [b0_before, b0] : {
             std::pair{0,   123},
             {123, 0  },
             {60,  60 },
             {60,  70 },
             {100, 45 }
    }) {
        AmbeFrame frame{};
        frame.pitch_index = b0_before;
        frame.gain_index = 63;
        frame.prba24_index = 300;
        frame.prba58_index = 77;
        version().model_decode(frame, decoder.model);
        const SpeechModel before = decoder.model;

        frame.pitch_index = b0;
        frame.voicing_index = 10;
        frame.gain_index = 33;
        frame.prba24_index = 1;  // lost: not looked at
        frame.hoc1_index = 9;
        version().model_repeat_shape(frame, decoder.model);
        const Harmonics& harmonics = decoder.model.harmonics;
        EXPECT_EQ(harmonics.count, pitch_table[b0].harmonics);
        EXPECT_EQ(voicing_text(harmonics).substr(0, 1), "1");

        const std::vector<double> p = stretched(before, harmonics.count);
        double mean = 0;
        for (const double value : p) mean += value / harmonics.count;
        const double level = 2 * static_cast<double>(gain_table[33]) - 0.5 * std::log2(harmonics.count);
        const double unvoiced = 0.2046 / std::sqrt(2 * M_PI * pitch_table[b0].fundamental);
        for (int i = 0; i < harmonics.count; i++) {
            const double expected = p[static_cast<std::size_t>(i)] - mean + level;
            ASSERT_NEAR(decoder.model.log2_magnitude[i], expected, 1e-5) << b0_before << " " << b0 << " " << i;
            const double factor = harmonics.voiced[i] != 0 ? 1 : unvoiced;
            ASSERT_NEAR(harmonics.magnitude[i] / (factor * std::exp2(expected)), 1, 1e-5);
        }
        for (int i = harmonics.count; i < harmonic_slots; i++) ASSERT_EQ(harmonics.magnitude[i], 0.0F);
    }
}
