// SPDX-License-Identifier: MIT
// What start-up asks of the audio layer, call by call.
#include <gtest/gtest.h>

#include <cstring>

#include "player/player.h"
#include "player/stream_owner.h"
#include "player/surroundings.h"

namespace {

using Lines = std::vector<std::string>;

struct AudioStart {
    int result = 0;
    Lines trace;
    int verbose_level = -1;
};

// With an output format that differs in every number from the stream's own.
AudioStart start_audio(int sound_device, Surroundings around, int verbose_level = 0) {
    AudioControl control = {};
    std::strcpy(control.name, "a device");
    around.audio_control = &control;
    AudioStart start;
    Player player;
    const StreamOwner owner{player};
    player.settings.sound_device = sound_device;
    player.settings.verbose_level = verbose_level;
    const TracedRun run(around);
    player_start_codec(player);
    player.stream->output_format = {.channels = 2, .bits_per_sample = 8, .sample_rate = 44100};
    std::fflush(stdout);
    surroundings().trace.clear();
    start.result = player_start_audio(player);
    std::fflush(stdout);
    start.trace = surroundings().trace;
    start.verbose_level = surroundings().audio_verbose_level;
    return start;
}

}  // namespace

TEST(StartAudioCalls, DeviceThatTheLayerChoosesIsFormattedLikeTheStreamsOutputOpenedForPlaybackAndNamed) {
    const AudioStart start = start_audio(-1, {.audio_device = 7});
    EXPECT_EQ(start.result, 0);
    EXPECT_EQ(start.trace, (Lines{
                               "audio_detect(1)",
                               "audio_alloc(7)",
                               "audio_format(control, 2, 44100, 8)",
                               "audio_open(control, 1)",
                               "stdout: Using device 'a device'.\\n",
                           }));
}

TEST(StartAudioCalls, DeviceThatWasAskedForIsTakenWithoutAsking) {
    for (const int device : {0, 3, 300, -2}) {
        const AudioStart start = start_audio(device, {.audio_device = 7});
        ASSERT_FALSE(start.trace.empty());
        EXPECT_EQ(start.trace[0], "audio_alloc(" + std::to_string(device) + ")");
    }
}

TEST(StartAudioCalls, DeviceThatCannotBeOpenedEndsTheStartWithoutAWord) {
    for (const int refused : {-1, -7}) {
        const AudioStart start = start_audio(0, {.audio_open_result = refused});
        EXPECT_EQ(start.result, -1);
        EXPECT_EQ(start.trace,
                  (Lines{"audio_alloc(0)", "audio_format(control, 2, 44100, 8)", "audio_open(control, 1)"}));
    }
}

TEST(StartAudioCalls, LayerIsToldTheVerboseLevelBeforeTheDeviceIsOpened) {
    for (const int level : {0, 1, 3}) {
        EXPECT_EQ(start_audio(0, {.audio_open_result = -1}, level).verbose_level, level);
    }
}

TEST(StartAudioCalls, OnlyANegativeResultOfOpenIsAFailure) {
    EXPECT_EQ(start_audio(0, {.audio_open_result = 5}).result, 0);
}
