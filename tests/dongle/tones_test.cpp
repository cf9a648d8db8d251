// SPDX-License-Identifier: MIT
// Tone frames through the nine functions: lines where the tone table has them, measured by a transform of the test's.
#include <gtest/gtest.h>

#include <cmath>
#include <complex>
#include <numbers>

#include "dongle_door.h"
#include "frame_builder.h"

namespace {

constexpr std::size_t tone_frames = 7;

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

TEST(ToneFrames, SpeechFadesOutUnderTheTone) {
    const std::vector<AmbeFrameBytes> tone(tone_frames, tone_frame(64, 232));
    const auto story = raw_frames("golden/story_600.raw12");
    std::vector<AmbeFrameBytes> frames(story.begin(), story.begin() + 51);
    frames.insert(frames.end(), tone.begin(), tone.end());
    const Pcm pcm = decoded(frames);
    const Pcm alone = decoded(tone);
    ASSERT_EQ(pcm.size(), (51 + tone_frames) * block_samples);
    EXPECT_EQ(Pcm(pcm.begin() + 52 * block_samples, pcm.end()), Pcm(alone.begin() + block_samples, alone.end()));
}

// Three frames each: DTMF from frame 25 on, single tones from frame 84 on. Two steady blocks make lines 25 Hz wide.
TEST(ToneFrames, RecordedTonesSoundWhereTheirIndexSays) {
    const Pcm pcm = decoded(raw_frames("golden/special.raw12"));
    ASSERT_EQ(pcm.size(), 151 * block_samples);
    const auto steady_blocks = [&pcm](std::size_t first_frame) {
        const auto begin = pcm.begin() + static_cast<std::ptrdiff_t>((first_frame + 1) * block_samples);
        return Pcm(begin, begin + 2 * block_samples);
    };
    for (unsigned raw = 0; raw < 16; ++raw) {
        const Pcm tone = steady_blocks(25 + 3 * raw);
        const auto [high, low] = tone_lines(raw);
        EXPECT_NEAR(line_between(tone, 300, 1000), low, 10) << raw;
        EXPECT_NEAR(line_between(tone, 1010, 3900), high, 10) << raw;
    }
    constexpr unsigned singles[] = {37, 38, 39, 64, 96, 132, 154};
    for (unsigned i = 0; i < std::size(singles); ++i)
        EXPECT_NEAR(line_between(steady_blocks(84 + 3 * i), 50, 3950), tone_lines(singles[i])[0], 5) << singles[i];
}
