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
#include "dongle/frame_maker.h"

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

void compare_model(Difference& difference, const GoldenRow& row, const AmbeDecoder& decoder) {
    const Harmonics& harmonics = decoder.model.harmonics;
    difference.close("f0", real(row, "f0"), harmonics.fundamental * 0x1p-32, either(real(row, "f0"), 1e-5, 1e-6));
    difference.whole_number(row, "L", harmonics.count);
    const auto gain = static_cast<double>(decoder.model.gain);
    difference.close("gamma", real(row, "gamma"), gain, either(real(row, "gamma"), 1e-5, 1e-6));
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
        const std::vector<GoldenRow> rows = golden_table(name + ".csv");
        const std::vector<FrameOfBytes> frames = golden_frames(name + ".raw12");
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
    // The highest gain again and again: gamma tends to twice 5.352783, and harmonics far above any encoder's come out.
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
    EXPECT_NEAR(decoder.model.gain, 2 * 5.352783, 1e-4);
    EXPECT_GT(loudest, 14);
}
