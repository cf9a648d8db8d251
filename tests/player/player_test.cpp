// SPDX-License-Identifier: MIT
#include "player/player.h"

#include <gtest/gtest.h>
#include <stdlib.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstring>
#include <string>

#include "player/program_info.h"
#include "player/stream_owner.h"
#include "support/capture.h"
#include "support/messages.h"

namespace {

// A player whose codec stream stands, with the sound device that was asked for.
struct AudioStart {
    Player player;
    StreamOwner owner{player};
    int result = 0;
    Output output;

    explicit AudioStart(int sound_device) {
        player.settings.sound_device = sound_device;
        output_of([&] { player_start_codec(player); });
        output = output_of([&] { result = player_start_audio(player); });
    }
    // A device that is heard puts back the streams that it found, and those are of the capture.
    ~AudioStart() {
        output_of([&] { audio_free(player.audio); });
    }
};

}  // namespace

TEST(ProgramInfo, TextsAreTheProgramsOwn) {
    EXPECT_STREQ(program_info.company, "Wexcombe Corporation");
    EXPECT_STREQ(program_info.title, "Tallis Audio Player");
    EXPECT_STREQ(program_info.version, "1.0.7");
    EXPECT_GT(std::strlen(program_info.notice), 0u);
    EXPECT_EQ(sizeof program_info.company, 64u);
    EXPECT_EQ(sizeof program_info.notice, 32u);
    EXPECT_EQ(sizeof program_info.title, 80u);
    EXPECT_EQ(sizeof program_info.version, 16u);
}

TEST(Banner, TitleAndVersionThenNoticeAndCompany) {
    const Output output = output_of(print_banner);
    EXPECT_EQ(output.out,
              "HALCYON Tallis Audio Player V1.0.7\n" + std::string(program_info.notice) + " Wexcombe Corporation.\n\n");
    EXPECT_EQ(output.err, "");
}

TEST(StartCodec, EncodesEightKilohertzMonoOf16BitsWithBlockHeadersFlagged) {
    Player player;
    const StreamOwner owner{player};
    int result = -1;
    const Output output = output_of([&] { result = player_start_codec(player); });
    EXPECT_EQ(result, 0);
    EXPECT_EQ(output.out, "CODEC 'Linear PCM' for 1 channels at 8000 Hz with 16 bits per sample.\n");
    EXPECT_EQ(player.stream->flags, 1);
    EXPECT_EQ(player.stream->block_bytes, 0);
    EXPECT_EQ(player.stream->input_format.channels, 1);
    EXPECT_EQ(player.stream->input_format.bits_per_sample, 16);
    EXPECT_EQ(player.stream->input_format.sample_rate, 8000u);
}

TEST(StartCodec, FormatWithoutACodecIsNamedOnStandardError) {
    Player player;
    int result = 0;
    player.settings.format_tag = 0x0055;
    EXPECT_EQ(output_of([&] { result = player_start_codec(player); }).err, "Sorry, format MP3 not supported !\n");
    EXPECT_EQ(result, -1);
    player.settings.format_tag = 0x1234;
    EXPECT_EQ(output_of([&] { result = player_start_codec(player); }).err, "Sorry, format <1234> not supported !\n");
    EXPECT_EQ(result, -1);
}

TEST(StartAudio, AudioLayerChoosesOnlyWhenNoDeviceWasAskedFor) {
    unsetenv("SOUNDCARD");
    const AudioStart chosen(-1);
    EXPECT_EQ(chosen.result, 0);
    EXPECT_EQ(chosen.output.out, no_device_line + device_line);
    EXPECT_EQ(chosen.player.audio->device, 0);

    const AudioStart asked_for(0);
    EXPECT_EQ(asked_for.output.out, device_line);
    EXPECT_EQ(asked_for.player.audio->device, 0);
}

TEST(StartAudio, DeviceByteIsTheNumberModulo256) {
    const AudioStart start(300);
    EXPECT_EQ(start.result, 0);
    EXPECT_EQ(start.player.audio->device, 44);
}

namespace {

// What comes of it in a process that has standard streams open or not, and may open no file at all.
int status_without_files(bool input_is_open) {
    const pid_t child = fork();
    if (child == 0) {
        if (!input_is_open) close(STDIN_FILENO);
        const rlimit none = {0, 0};
        setrlimit(RLIMIT_NOFILE, &none);
        _exit(open_missing_standard_streams() < 0 ? 1 : 0);
    }
    int status = 0;
    waitpid(child, &status, 0);
    return WEXITSTATUS(status);
}

}  // namespace

TEST(StandardStreams, MissingOneThatCannotBeOpenedIsAFailure) {
    EXPECT_EQ(status_without_files(true), 0);
    EXPECT_EQ(status_without_files(false), 1);
}
