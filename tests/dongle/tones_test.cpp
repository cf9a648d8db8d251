// SPDX-License-Identifier: MIT
// Tone frames through the nine functions: lines where the tone table has them, measured by a transform of the test's.
#include <gmock/gmock.h>

#include <algorithm>
#include <cmath>
#include <complex>
#include <numbers>

#include "dongle_door.h"
#include "frame_builder.h"

namespace {

using testing::Each;

constexpr std::size_t block_samples = 160;
constexpr std::size_t tone_frames = 7;
constexpr double tolerance_hz = 2;
constexpr unsigned typical_volume = 232;

constexpr double dtmf_low[] = {697, 770, 852, 941};
constexpr double dtmf_high[] = {1209, 1336, 1477, 1633};
constexpr double knox_low[] = {606, 672, 743, 820};
constexpr double knox_high[] = {1052, 1162, 1279, 1430};

// Five blocks in the middle of a tone of seven frames: no fade and nothing of what was there before.
Pcm steady_tone(unsigned raw_index, unsigned volume) {
    const Pcm pcm = decoded(std::vector<AmbeFrameBytes>(tone_frames, tone_frame(raw_index, volume)));
    if (pcm.size() != tone_frames * block_samples) return Pcm(5 * block_samples);
    return Pcm(pcm.begin() + block_samples, pcm.begin() + 6 * block_samples);
}

// Amplitude of the sinusoid at `hz` (Hann window, one line of the transform).
double amplitude_at(const Pcm& pcm, double hz) {
    const double size = static_cast<double>(pcm.size());
    const auto turn = std::polar(1.0, -2 * std::numbers::pi * hz / 8000);
    const auto hann_turn = std::polar(1.0, 2 * std::numbers::pi / size);
    std::complex<double> sum = 0, line = 1, hann = 1;
    for (const int sample : pcm) {
        sum += (0.5 - 0.5 * hann.real()) * sample * line;
        line *= turn;
        hann *= hann_turn;
    }
    return 4 * std::abs(sum) / size;
}

double strongest_between(const Pcm& pcm, double from_hz, double to_hz, double step_hz) {
    double best_hz = from_hz, best = 0;
    for (double hz = from_hz; hz <= to_hz; hz += step_hz) {
        const double amplitude = amplitude_at(pcm, hz);
        if (amplitude <= best) continue;
        best = amplitude;
        best_hz = hz;
    }
    return best_hz;
}

// The strongest line of the whole range, to a quarter of a hertz.
double line_between(const Pcm& pcm, double from_hz, double to_hz) {
    const double coarse = strongest_between(pcm, from_hz, to_hz, 5);
    return strongest_between(pcm, coarse - 5, coarse + 5, 0.25);
}

double peak_of(const Pcm& pcm) {
    double peak = 0;
    for (const int sample : pcm) peak = std::max(peak, std::abs(static_cast<double>(sample)));
    return peak;
}

// Power outside the lines, against the whole: a pure tone has rounding noise only.
double impurity(const Pcm& pcm, std::initializer_list<double> lines_hz) {
    double all = 0, lines = 0;
    for (const int sample : pcm) all += static_cast<double>(sample) * sample / static_cast<double>(pcm.size());
    for (const double hz : lines_hz) lines += std::pow(amplitude_at(pcm, hz), 2) / 2;
    return std::abs(all - lines) / all;
}

void expect_dual_tone(unsigned raw_index, double low_hz, double high_hz) {
    SCOPED_TRACE(raw_index);
    const Pcm pcm = steady_tone(raw_index, typical_volume);
    EXPECT_NEAR(line_between(pcm, 300, 1000), low_hz, tolerance_hz);
    EXPECT_NEAR(line_between(pcm, 1010, 3900), high_hz, tolerance_hz);
    EXPECT_LT(impurity(pcm, {low_hz, high_hz}), 0.02);
    const double amplitude = std::exp2(typical_volume / 16.934 - 1) / 2;
    EXPECT_NEAR(amplitude_at(pcm, low_hz) / amplitude, 1, 0.02);
    EXPECT_NEAR(amplitude_at(pcm, high_hz) / amplitude, 1, 0.02);
}

void expect_silence(unsigned raw_index) {
    const Pcm pcm = decoded(std::vector<AmbeFrameBytes>(tone_frames, tone_frame(raw_index, typical_volume)));
    EXPECT_THAT(pcm, Each(0)) << raw_index;
}

}  // namespace

// The frame of silence that radio gear sends, and recorded tone frames: the builder writes the same nine bytes.
TEST(FrameBuilder, BuildsTheFramesThatAreKnown) {
    const AmbeFrameBytes silence = {0x9E, 0x8D, 0x32, 0x88, 0x26, 0x1A, 0x3F, 0x61, 0xE8, 0x55, 0x2D, 0x16};
    EXPECT_EQ(frame_of_voice_bits(0xF854AA9DE80A), silence);
    const AmbeFrameBytes voice = {0xE0, 0xF9, 0x2D, 0x4E, 0x5C, 0x49, 0xE3, 0xF1, 0x83, 0x55, 0x2D, 0x16};
    EXPECT_EQ(frame_of_voice_bits(0xB6C7DC4875F5), voice);
    const auto special = raw_frames("golden/special.raw12");
    const auto voice_bytes = [](const AmbeFrameBytes& frame) { return std::vector(frame.begin(), frame.begin() + 9); };
    EXPECT_EQ(voice_bytes(special[25]), voice_bytes(tone_frame(0, 220)));
    EXPECT_EQ(voice_bytes(special[70]), voice_bytes(tone_frame(15, 220)));
    EXPECT_EQ(voice_bytes(special[85]), voice_bytes(tone_frame(37, 232, 127)));
    EXPECT_EQ(voice_bytes(special[103]), voice_bytes(tone_frame(154, 232, 127)));
}

TEST(ToneFrames, DtmfGoesColumnByColumn) {
    for (unsigned raw = 0; raw < 16; ++raw) expect_dual_tone(raw, dtmf_low[raw % 4], dtmf_high[raw / 4]);
}

TEST(ToneFrames, KnoxGoesColumnByColumn) {
    for (unsigned raw = 0; raw < 16; ++raw) expect_dual_tone(16 + raw, knox_low[raw % 4], knox_high[raw / 4]);
}

TEST(ToneFrames, SingleTonesAreMultiplesOfThirtyOneAndAQuarterHertz) {
    for (unsigned raw = 37; raw <= 154; ++raw) {
        SCOPED_TRACE(raw);
        const double hz = 31.25 * (raw - 32);
        const Pcm pcm = steady_tone(raw, typical_volume);
        EXPECT_NEAR(line_between(pcm, 50, 3950), hz, tolerance_hz);
        EXPECT_LT(impurity(pcm, {hz}), 0.01);
    }
}

TEST(ToneFrames, OtherIndicesAreNoTones) {
    for (unsigned raw = 32; raw <= 36; ++raw) expect_silence(raw);
    for (unsigned raw = 155; raw <= 255; ++raw) expect_silence(raw);
}

TEST(ToneFrames, AmplitudeDoublesWithSeventeenStepsOfVolume) {
    for (const unsigned volume : {60u, 100u, 150u, 200u, 232u, 255u}) {
        const Pcm pcm = steady_tone(32 + 32, volume);
        const double amplitude = std::exp2(volume / 16.934 - 1);
        EXPECT_NEAR(amplitude_at(pcm, 1000), amplitude, 0.02 * amplitude + 0.5) << volume;
        EXPECT_LE(peak_of(pcm), 1.02 * amplitude + 1) << volume;
    }
    // The two amplitudes that are known by number.
    EXPECT_NEAR(amplitude_at(steady_tone(64, 255), 1000), 17000, 0.02 * 17000);
    EXPECT_NEAR(amplitude_at(steady_tone(64, 232), 1000), 6650, 0.02 * 6650);
}

TEST(ToneFrames, PhaseRunsOnFromFrameToFrame) {
    // One sinusoid: x(n+1) + x(n-1) = 2 cos(w) x(n) for every n, borders of frames included.
    const double twice_cosine = 2 * std::cos(2 * std::numbers::pi * 31.25 * 45 / 8000);
    const Pcm pcm = steady_tone(32 + 45, 232);
    for (std::size_t n = 1; n + 1 < pcm.size(); ++n)
        ASSERT_NEAR(pcm[n + 1] + pcm[n - 1], twice_cosine * pcm[n], 4) << n;
}

TEST(ToneFrames, FewWrongBitsAreToleratedAndMoreAreNot) {
    const AmbeFrameBytes clean = tone_frame(64, 232);
    const auto tone_of = [](const AmbeFrameBytes& frame) {
        const Pcm pcm = decoded(std::vector<AmbeFrameBytes>(3, frame));
        return std::ranges::any_of(pcm, [](int sample) { return sample != 0; });
    };
    EXPECT_TRUE(tone_of(with_wrong_bits(clean, 0, 2, 1))) << "e0 1";
    EXPECT_TRUE(tone_of(with_wrong_bits(clean, 1, 2, 2))) << "e1 2";
    EXPECT_TRUE(tone_of(with_wrong_bits(with_wrong_bits(clean, 0, 2, 1), 1, 7, 1))) << "e0 1, e1 1";
    EXPECT_FALSE(tone_of(with_wrong_bits(clean, 0, 2, 2))) << "e0 2";
    EXPECT_FALSE(tone_of(with_wrong_bits(clean, 1, 2, 3))) << "e1 3";
    EXPECT_FALSE(tone_of(with_wrong_bits(with_wrong_bits(clean, 0, 2, 1), 1, 7, 2))) << "e0 1, e1 2";
}

TEST(ToneFrames, SpeechFadesOutUnderTheTone) {
    const auto story = raw_frames("golden/story_600.raw12");
    std::vector<AmbeFrameBytes> frames(story.begin(), story.begin() + 51);
    frames.insert(frames.end(), tone_frames, tone_frame(64, 232));
    const Pcm pcm = decoded(frames);
    const Pcm steady(pcm.begin() + 52 * block_samples, pcm.begin() + 57 * block_samples);
    EXPECT_NEAR(line_between(steady, 50, 3950), 1000, tolerance_hz);
    EXPECT_LT(impurity(steady, {1000}), 0.01);
}

TEST(ToneFrames, RecordedTonesSoundWhereTheirIndexSays) {
    const Pcm pcm = decoded(raw_frames("golden/special.raw12"));
    ASSERT_EQ(pcm.size(), 151 * block_samples);
    // Three frames each from frame 84 on: tones 5, 6, 7, 32, 64, 100, 122; two steady blocks make 25 Hz wide lines.
    constexpr unsigned tones[] = {5, 6, 7, 32, 64, 100, 122};
    for (std::size_t i = 0; i < std::size(tones); ++i) {
        const auto begin = pcm.begin() + static_cast<std::ptrdiff_t>((84 + 3 * i + 1) * block_samples);
        EXPECT_NEAR(line_between(Pcm(begin, begin + 2 * block_samples), 50, 3950), 31.25 * tones[i], 5) << tones[i];
    }
}
