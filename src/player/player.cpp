// SPDX-License-Identifier: MIT
#include "player/player.h"

#include <fcntl.h>
#include <unistd.h>

#include <cstdio>

#include "link/dongle.h"
#include "player/program_info.h"
#include "riff/wave_format.h"

namespace {

constexpr int report_missing_device = 1;
constexpr int audio_mode_playback = 1;
constexpr PcmFormat decoded_format = {.channels = 1, .bits_per_sample = 16, .sample_rate = 8000};

}  // namespace

int open_missing_standard_streams() {
    for (int descriptor = STDIN_FILENO; descriptor <= STDERR_FILENO; descriptor++) {
        // open takes the lowest free descriptor, which is this one: those below are open by now.
        if (fcntl(descriptor, F_GETFD) < 0 && open("/dev/null", O_RDWR) < 0) return -1;
    }
    return 0;
}

void print_banner() {
    std::printf("HALCYON %s V%s\n", program_info.title, program_info.version);
    std::printf("%s %s.\n\n", program_info.notice, program_info.company);
}

int player_start_codec(Player& player) {
    const std::uint32_t tag = player.settings.format_tag;
    player.stream = codec_stream_create(tag, codec_mode_encode, &decoded_format, 0);
    if (player.stream == nullptr) {
        std::fprintf(stderr, "Sorry, format %s not supported !\n", wave_format_name(static_cast<int>(tag)));
        return -1;
    }
    player.stream->flags |= codec_flag_block_headers;
    return 0;
}

int player_start_audio(Player& player) {
    int device = player.settings.sound_device;
    if (device == -1) device = audio_detect(report_missing_device);
    player.audio = audio_alloc(device);
    if (player.audio == nullptr) return -1;

    audio_verbose(player.settings.verbose_level);
    const PcmFormat& format = player.stream->output_format;
    audio_format(player.audio, format.channels, static_cast<long>(format.sample_rate), format.bits_per_sample);
    if (audio_open(player.audio, audio_mode_playback) < 0) return -1;
    std::printf("Using device '%s'.\n", player.audio->name);
    return 0;
}

int player_start_vocoder(Player& player) {
    const Settings& settings = player.settings;
    dongle_debug(settings.debug_level);
    if (dongle_init(settings.port, settings.speed) < 0) return -1;
    dongle_hello();
    return 0;
}
