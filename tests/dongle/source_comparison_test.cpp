// SPDX-License-Identifier: MIT
// The decoded recordings resemble what was encoded. The limits stand between what a correct decoder reaches and what
// the faults of the tests below make of it.
#include "source_comparison.h"

#include <gmock/gmock.h>

#include <cmath>
#include <cstdio>

#include "dongle_door.h"
#include "plain_synthesis.h"

namespace {

// The coded speech comes about 60 ms late.
constexpr double earliest_lag_ms = 50, latest_lag_ms = 70;
constexpr double least_env = 0.95;
constexpr double least_stoi = 0.85;
constexpr double largest_mel_distance_db = 6.5;
// Software-encoded speech comes back 2.5 to 4 dB below its source, over a whole file.
constexpr double lowest_level_db = -4.5, highest_level_db = -2;

void expect_resemblance(const std::string& name, const std::vector<AmbeFrameBytes>& frames) {
    const Pcm source = source_samples("recordings/" + name + "_source.wav");
    const SourceFigures figures = source_figures(source, decoded(frames));
    printf("%s: %s\n", name.c_str(), to_text(figures).c_str());
    EXPECT_GE(figures.lag_ms, earliest_lag_ms) << name;
    EXPECT_LE(figures.lag_ms, latest_lag_ms) << name;
    EXPECT_GE(figures.env, least_env) << name;
    EXPECT_GE(figures.stoi, least_stoi) << name;
    EXPECT_LE(figures.mel_lsd_db, largest_mel_distance_db) << name;
    EXPECT_GE(figures.level_db, lowest_level_db) << name;
    EXPECT_LE(figures.level_db, highest_level_db) << name;
}

// The first twelve seconds of the story, from golden parameters.
SourceFigures story_with(const SynthesisFaults& faults) {
    const Pcm pcm = plain_synthesis(golden_frames("golden/story_600.csv"), faults);
    Pcm source = source_samples("recordings/story_source.wav");
    source.resize(pcm.size() - 960);
    return source_figures(source, pcm);
}

}  // namespace

TEST(SourceComparison, EveryRecordingIsIntelligible) {
    expect_resemblance("story", raw_frames("recordings/story.ambe"));
    expect_resemblance("greeting", dvtool_frames("recordings/greeting.dvtool"));
    expect_resemblance("counting", dvtool_frames("recordings/counting.dvtool"));
}

// ---- the figures themselves ----

TEST(SourceComparison, SignalAgainstItselfIsPerfect) {
    const Pcm source = source_samples("recordings/greeting_source.wav");
    const SourceFigures figures = source_figures(source, source);
    EXPECT_EQ(figures.lag_ms, 0);
    EXPECT_NEAR(figures.env, 1, 1e-9);
    EXPECT_NEAR(figures.level_db, 0, 1e-9);
    EXPECT_NEAR(figures.stoi, 1, 1e-9);
    EXPECT_NEAR(figures.mel_lsd_db, 0, 1e-9);
}

TEST(SourceComparison, HalfTheAmplitudeIsSixDecibelAndNothingElse) {
    const Pcm source = source_samples("recordings/greeting_source.wav");
    Pcm half = source;
    for (std::int16_t& sample : half) sample = static_cast<std::int16_t>(sample / 2);
    const SourceFigures figures = source_figures(source, half);
    EXPECT_NEAR(figures.level_db, -6.02, 0.02);
    EXPECT_GT(figures.stoi, 0.99);
}

// 0.8747 is the mean of the reference over the three recordings.
TEST(SourceComparison, PlainFormulasHaveTheIntelligibilityOfTheReference) {
    EXPECT_NEAR(story_with({}).stoi, 0.8747, 0.01);
}

TEST(SourceComparison, FaultsAreBeyondTheLimits) {
    EXPECT_LT(story_with({.noise_factor = 2}).stoi, least_stoi);
    EXPECT_LT(story_with({.voiced_factor = 0.5}).stoi, least_stoi);
    EXPECT_GT(story_with({.noise_bin_shift = 16}).mel_lsd_db, largest_mel_distance_db);
    EXPECT_LT(story_with({.forgets_last_frame = true}).level_db, lowest_level_db);
}
