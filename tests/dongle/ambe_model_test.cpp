// SPDX-License-Identifier: MIT
// The golden parameter files, every column of them, and what they say of frames with errors.
#include "ambe_model.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <sstream>

#include "ambe_decoder.h"
#include "dongle/arithmetic_versions.h"
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
    for (int i = 0; i < ambe_fields; i++) difference.whole_number(row, "b" + std::to_string(i), decoder.frame.field[i]);
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

class AmbeModel : public ArithmeticVersions {
  protected:
    void SetUp() override {
        ArithmeticVersions::SetUp();
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
    frame.field[0] = silence_pitch;
    frame.field[1] = 15;
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
        frame.field[0] = i * 7 % voice_pitches;
        frame.field[1] = i % 16;
        frame.field[2] = 63;
        frame.field[3] = i * 37 % 512;
        frame.field[4] = i % 128;
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

TEST_P(AmbeModel, EnhancementKeepsTheEnergy) {
    Harmonics harmonics{};
    harmonics.count = 40;
    harmonics.fundamental = 0x03000000;
    double energy = 0;
    for (int i = 0; i < 40; i++) {
        harmonics.magnitude[i] = 10.0F + static_cast<float>(i * 37 % 11);
        energy += static_cast<double>(harmonics.magnitude[i]) * harmonics.magnitude[i];
    }
    float smoothing = smoothing_energy_start;
    version().harmonics_enhance(harmonics, smoothing, {0, 0});
    double after = 0;
    for (int i = 0; i < 40; i++) after += static_cast<double>(harmonics.magnitude[i]) * harmonics.magnitude[i];
    EXPECT_NEAR(after / energy, 1, 1e-5);
    EXPECT_NEAR(smoothing, 0.95 * 75000 + 0.05 * energy, 0.1);
}

TEST_P(AmbeModel, SumOfMagnitudesIsLimited) {
    Harmonics harmonics{};
    harmonics.count = 10;
    harmonics.fundamental = 0x0A000000;
    for (int i = 0; i < 10; i++) harmonics.magnitude[i] = 5000;
    float smoothing = smoothing_energy_start;
    version().harmonics_enhance(harmonics, smoothing, {0, 0});
    double sum = 0;
    for (const float magnitude : harmonics.magnitude) sum += static_cast<double>(magnitude);
    EXPECT_NEAR(sum, 20480, 0.1);
}

TEST_P(AmbeModel, SilentHarmonicsStaySilent) {
    Harmonics harmonics{};
    harmonics.count = 30;
    harmonics.fundamental = 0x03000000;
    float smoothing = 0;
    version().harmonics_enhance(harmonics, smoothing, {0.09F, 6});
    for (const float magnitude : harmonics.magnitude) EXPECT_EQ(magnitude, 0.0F);
    EXPECT_EQ(voicing_text(harmonics), std::string(30, '0'));
    EXPECT_EQ(smoothing, 10000.0F);
}

TEST_P(AmbeModel, OnlyMagnitudesAboveTheThresholdOfTheErrorRateBecomeVoiced) {
    // 45.255 S^0.375 exp(-277.26 rate) up to a rate of 0.0125, 1.414 S^0.375 above it. S moves by the frame itself, to
    // 0.95 S + 0.05 M^2, at least 10000: the M that is its own threshold is found by repeated insertion.
    const auto threshold_at = [](double rate, double energy_before) {
        double threshold = 100;
        for (int i = 0; i < 100; i++) {
            const double energy = std::max(10000.0, 0.95 * energy_before + 0.05 * threshold * threshold);
            const double factor = rate <= 0.0125 ? 45.255 * std::exp(-277.26 * rate) : 1.414;
            threshold = factor * std::pow(energy, 0.375);
        }
        return threshold;
    };
    for (const float rate : {0.008F, 0.0124F, 0.0126F, 0.05F})
        for (const float energy_before : {75000.0F, 500000.0F, 0.0F})
            for (const double share : {0.9995, 1.0005}) {
                const auto magnitude =
                    static_cast<float>(share * threshold_at(static_cast<double>(rate), energy_before));
                Harmonics harmonics{};
                harmonics.count = 9;
                harmonics.fundamental = 0x0C000000;
                harmonics.magnitude[0] = magnitude;  // the only one, and below L / 8: enhancement leaves it alone
                float energy = energy_before;
                version().harmonics_enhance(harmonics, energy, {rate, 0});
                EXPECT_EQ(harmonics.voiced[0] != 0, share > 1) << rate << " " << energy_before;
                EXPECT_FLOAT_EQ(harmonics.magnitude[0], magnitude) << "forced to voiced, it keeps its magnitude";
            }
}

TEST_P(AmbeModel, LoudestHarmonicOfADamagedFrameBecomesVoiced) {
    // S = 0.95 * 75000 + 0.05 * 1000^2 = 121250, S^0.375 = 80.6. Above a rate of 0.0125 the threshold is 1.414 * 80.6
    // = 114; below, 45.255 * 80.6 * exp(-277.26 * rate): 3647 at 0, 912 at 0.005, 887 at 0.0051.
    for (const auto& [rate, errors, becomes_voiced] : {
             std::tuple{0.013F,  0, true },
             std::tuple{0.0051F, 0, true },
             std::tuple{0.005F,  5, true },
             std::tuple{0.005F,  4, false},
             std::tuple{0.0F,    5, false}
    }) {
        Harmonics harmonics{};
        harmonics.count = 9;
        harmonics.fundamental = 0x0C000000;
        for (int i = 0; i < 9; i++) harmonics.magnitude[i] = 1;
        harmonics.magnitude[0] = 1000;
        float smoothing = smoothing_energy_start;
        version().harmonics_enhance(harmonics, smoothing, {rate, errors});
        EXPECT_EQ(harmonics.voiced[0] != 0, becomes_voiced) << rate << " " << errors;
        EXPECT_EQ(harmonics.voiced[1], 0U);
        EXPECT_EQ(harmonics.voiced[9], 0U);
    }
}
