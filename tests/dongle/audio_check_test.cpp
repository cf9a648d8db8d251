// SPDX-License-Identifier: MIT
// The PCM that the library really returns has the energies that the golden parameters ask for, and the check that says
// so says no to faulty PCM.
#include "audio_check.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <cmath>
#include <cstdio>

#include "dongle_door.h"
#include "frame_builder.h"
#include "plain_synthesis.h"

namespace {

using testing::HasSubstr;
using testing::SizeIs;

constexpr double least_agreement_db = 60;

struct Golden {
    std::vector<GoldenFrame> frames = golden_frames("golden/story_600.csv");
    std::vector<BandPowers> bands = golden_bands("golden/story_600_bands.csv");
    std::vector<double> unvoiced;
    Golden() {
        for (const GoldenFrame& frame : frames) unvoiced.push_back(unvoiced_share(frame));
    }
};

const Golden& golden() {
    static const Golden once;
    return once;
}

AudioFigures figures_of(const Pcm& pcm) {
    return audio_figures(pcm, golden().bands, golden().unvoiced);
}

const Pcm& story_600() {
    static const Pcm once = decoded(raw_frames("golden/story_600.raw12"));
    return once;
}

// Faults are tried on PCM that passes without them.
const Pcm& plain_story() {
    static const Pcm once = plain_synthesis(golden().frames);
    return once;
}

double rms_of_block(const Pcm& pcm, std::size_t block) {
    double sum = 0;
    for (std::size_t n = 0; n < block_samples; ++n) sum += std::pow(pcm[block * block_samples + n], 2);
    return std::sqrt(sum / block_samples);
}

double share_at_limit(const Pcm& pcm) {
    const auto at_limit = std::ranges::count_if(pcm, [](int sample) { return std::abs(sample) >= 32767; });
    return static_cast<double>(at_limit) / static_cast<double>(pcm.size());
}

// How far the library and the plain formulas agree, in dB, tones and the fading block behind them left out.
double agreement_db(const std::string& name, const std::vector<GoldenFrame>& frames) {
    const Pcm pcm = decoded(raw_frames("golden/" + name + ".raw12"));
    const Pcm plain = plain_synthesis(frames);
    EXPECT_EQ(pcm.size(), plain.size());
    double signal = 0, error = 1;
    for (std::size_t n = 0; n < std::min(plain.size(), pcm.size()); ++n) {
        const std::size_t k = n / block_samples;
        if (frames[k].action == "tone" || (k > 0 && frames[k - 1].action == "tone")) continue;
        signal += std::pow(plain[n], 2);
        error += std::pow(pcm[n] - plain[n], 2);
    }
    const double agreement = 10 * std::log10(signal / error);
    printf("%s against the plain formulas: %.1f dB\n", name.c_str(), agreement);
    return agreement;
}

}  // namespace

TEST(AudioCheck, DecodedStoryPasses) {
    ASSERT_THAT(story_600(), SizeIs(600 * block_samples));
    const AudioFigures figures = figures_of(story_600());
    printf("story_600: %s\n", to_text(figures).c_str());
    EXPECT_EQ(beyond_limits(figures), "");
    EXPECT_EQ(figures.frames, 470u) << "loud frames of the golden powers";
}

// The same noise and the same formulas: the library and a second synthesiser of golden parameters differ by rounding.
TEST(AudioCheck, DecodedFramesAreThoseOfThePlainFormulas) {
    for (const std::string name : {"story_600", "story_600_errors", "stress", "special"})
        EXPECT_GT(agreement_db(name, golden_frames("golden/" + name + ".csv")), least_agreement_db) << name;
}

// The reference's noise is the library's too: its levels come out block by block, but for the way on which the upper
// harmonics follow the pitch. It has no fades at the ends of tones.
TEST(AudioCheck, DecodedBlocksHaveTheLevelsOfTheReference) {
    for (const std::string name : {"story_600", "story_600_errors", "special"}) {
        const Pcm pcm = decoded(raw_frames("golden/" + name + ".raw12"));
        const auto frames = golden_frames("golden/" + name + ".csv");
        ASSERT_EQ(pcm.size(), frames.size() * block_samples);
        for (std::size_t k = 0; k < frames.size(); ++k) {
            if (frames[k].action == "tone" || (k > 0 && frames[k - 1].action == "tone")) continue;
            EXPECT_NEAR(rms_of_block(pcm, k), frames[k].rms, 0.1 + 0.05 * frames[k].rms) << name << " " << k;
        }
    }
}

// ---- the check itself ----

TEST(AudioCheck, GoldenPowersAreThoseOfTheGoldenMagnitudes) {
    for (std::size_t k = 0; k < golden().frames.size(); ++k) {
        const GoldenFrame& frame = golden().frames[k];
        BandPowers powers{};
        for (std::size_t l = 1; l <= frame.magnitude.size(); ++l) {
            const double hz = static_cast<double>(l) * frame.fundamental * 8000;
            if (hz < 3800)
                powers[std::min<std::size_t>(static_cast<std::size_t>(hz / 500), 6)] += harmonic_power(frame, l);
        }
        for (std::size_t band = 0; band < band_count; ++band)
            ASSERT_NEAR(powers[band], golden().bands[k][band], 1e-4 * golden().bands[k][band] + 1e-6) << k;
    }
}

// In the reference all harmonics follow the pitch along a parabola.
TEST(AudioCheck, PlainFormulasPassWithTheFiguresOfTheReference) {
    const AudioFigures figures = figures_of(plain_synthesis(golden().frames, {.curved_harmonics = 56}));
    printf("plain formulas: %s\n", to_text(figures).c_str());
    EXPECT_EQ(beyond_limits(figures), "");
    EXPECT_NEAR(figures.ltas_db, 0.40, 0.006);
    EXPECT_NEAR(figures.median_db, 0.63, 0.006);
    EXPECT_NEAR(figures.p90_db, 1.91, 0.006);
    EXPECT_NEAR(figures.env, 0.996, 0.0006);
    EXPECT_NEAR(std::abs(figures.voicing_db), 0.19, 0.006);
}

TEST(AudioCheck, PlainFormulasGiveTheReferencesLevelBlockByBlock) {
    const Pcm pcm = plain_synthesis(golden().frames, {.curved_harmonics = 56});
    for (std::size_t k = 0; k < golden().frames.size(); ++k)
        ASSERT_NEAR(rms_of_block(pcm, k), golden().frames[k].rms, 0.05 + 2e-4 * golden().frames[k].rms) << k;
}

TEST(AudioCheck, RejectsEveryFaultOfASynthesis) {
    const struct {
        const char* fault;
        SynthesisFaults faults;
        const char* beyond;  // one of its figures that are
    } rows[] = {
        {"voiced speech at half amplitude",   {.voiced_factor = 0.5},       "voicing"},
        {"noise six decibel too loud",        {.noise_factor = 2},          "voicing"},
        {"noise two decibel too soft",        {.noise_factor = 0.8},        "voicing"},
        {"noise in the wrong bins",           {.noise_bin_shift = 16},      "p90"    },
        {"frames that forget the one before", {.forgets_last_frame = true}, "gain"   },
    };
    for (const auto& row : rows) {
        const AudioFigures figures = figures_of(plain_synthesis(golden().frames, row.faults));
        printf("%s: %s\n", row.fault, to_text(figures).c_str());
        EXPECT_THAT(beyond_limits(figures), HasSubstr(row.beyond)) << row.fault;
    }
}

TEST(AudioCheck, RejectsPcmThatIsOneBlockEarlyOrLate) {
    Pcm early(plain_story().begin() + block_samples, plain_story().end());
    early.resize(plain_story().size());
    EXPECT_EQ(beyond_limits(figures_of(early)), "median p90 env voicing");
    Pcm late(block_samples, 0);
    late.insert(late.end(), plain_story().begin(), plain_story().end() - block_samples);
    EXPECT_EQ(beyond_limits(figures_of(late)), "median p90 env voicing");
}

TEST(AudioCheck, RejectsPcmThatIsHalfABlockLate) {
    Pcm late(block_samples / 2, 0);
    late.insert(late.end(), plain_story().begin(), plain_story().end() - block_samples / 2);
    EXPECT_NE(beyond_limits(figures_of(late)), "");
}

TEST(AudioCheck, RejectsTheWrongGain) {
    Pcm soft = plain_story();
    for (std::int16_t& sample : soft) sample = static_cast<std::int16_t>(std::lrint(0.95 * sample));
    EXPECT_EQ(beyond_limits(figures_of(soft)), "gain");
}

// y(n) = x(n) + x(n-1), over 2: no loss at 0 Hz, 3 dB at 2000 Hz, 12 dB at 3400 Hz.
TEST(AudioCheck, RejectsPcmWithoutItsTreble) {
    Pcm dull = plain_story();
    for (std::size_t n = dull.size() - 1; n > 0; --n) dull[n] = static_cast<std::int16_t>((dull[n] + dull[n - 1]) / 2);
    EXPECT_THAT(beyond_limits(figures_of(dull)), HasSubstr("ltas"));
}

TEST(AudioCheck, RejectsClippedPcm) {
    Pcm clipped = plain_story();
    for (std::int16_t& sample : clipped) sample = static_cast<std::int16_t>(std::clamp(sample * 8, -32767, 32767) / 4);
    EXPECT_NE(beyond_limits(figures_of(clipped)), "");
}

TEST(AudioCheck, RejectsSilence) {
    EXPECT_NE(beyond_limits(figures_of(Pcm(600 * block_samples, 0))), "");
}

// ---- what needs no golden ----

TEST(DecodedAudio, NoSampleIsAtTheLimitAndHardlyOneOfALoudRecording) {
    const struct {
        const char* name;
        Pcm pcm;
        double most;
    } files[] = {
        {"story_600",       story_600(),                                          0     },
        {"story.ambe",      decoded(raw_frames("recordings/story.ambe")),         0     },
        {"greeting.ambe",   decoded(raw_frames("recordings/greeting.ambe")),      0     },
        {"greeting.dvtool", decoded(dvtool_frames("recordings/greeting.dvtool")), 0     },
        {"counting.dvtool", decoded(dvtool_frames("recordings/counting.dvtool")), 0     },
        {"story_loud.ambe", decoded(raw_frames("recordings/story_loud.ambe")),    0.0002},
    };
    for (const auto& [name, pcm, most] : files) {
        printf("%s: %.5f %% of the samples at the limit\n", name, 100 * share_at_limit(pcm));
        EXPECT_LE(share_at_limit(pcm), most) << name;
    }
}

// Cut off at 16 bits, the loud recording would have several times as many samples at the limit.
TEST(DecodedAudio, LoudRecordingIsKeptUnderTheLimiter) {
    const Pcm pcm = decoded(raw_frames("recordings/story_loud.ambe"));
    const auto above = std::ranges::count_if(pcm, [](int sample) { return std::abs(sample) > 32000; });
    printf("story_loud.ambe: %.5f %% above the limiter's peak\n", 100.0 * double(above) / double(pcm.size()));
    EXPECT_LT(above, 0.0005 * double(pcm.size()));
    for (std::size_t at = 0; at < pcm.size(); at += block_samples)
        for (std::size_t n = at + 48; n < at + block_samples; ++n) ASSERT_LE(std::abs(pcm[n]), 32000) << n;
}

TEST(DecodedAudio, SpeechComesBackSoftlyAfterAMute) {
    const auto story = raw_frames("golden/story_600.raw12");
    std::vector<AmbeFrameBytes> frames(60, story[50]);
    for (std::size_t k = 20; k < 25; ++k) frames[k] = with_errors(story[50], 0xF, 0);
    const Pcm pcm = decoded(frames);
    EXPECT_LT(rms_of_block(pcm, 25), 0.5 * rms_of_block(pcm, 40));
    EXPECT_NEAR(rms_of_block(pcm, 40) / rms_of_block(pcm, 59), 1, 0.3);
}
