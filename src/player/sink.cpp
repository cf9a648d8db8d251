// SPDX-License-Identifier: MIT
#include "player/sink.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "riff/fourcc.h"
#include "riff/wave_format.h"

namespace {

// Play mode: the newest block, one deep. The pull callback gets no context, so both are the program's.
PcmBlock waiting_block;
int block_ready = 0;  // 1 while waiting_block holds a block that was not pulled

// The codec stream's output callback.
int write_to_riff(void* riff, std::uint8_t* bytes, int count) {
    return riff_write_data(static_cast<RiffFile*>(riff), bytes, count);
}

WaveFormat output_format(const Player& player) {
    const PcmFormat& format = player.stream->output_format;
    WaveFormat wave = {};
    wave.format_tag = static_cast<std::uint16_t>(player.settings.format_tag);
    wave.channels = static_cast<std::uint16_t>(format.channels);
    wave.sample_rate = static_cast<std::uint32_t>(format.sample_rate);
    wave.bits_per_sample = static_cast<std::uint16_t>(format.bits_per_sample);
    return wave;
}

void create_or_truncate(const char* path) {
    if (std::FILE* file = std::fopen(path, "wb")) std::fclose(file);
}

// A WAVE file with its "fmt " chunk, or null.
RiffFile* create_wave_file(const Player& player, const char* path) {
    create_or_truncate(path);
    WaveFormat format = output_format(player);
    RiffFile* riff = riff_open(path, fourcc("WAVE"));
    if (!riff) return nullptr;
    if (riff_write_format(riff, &format) < 0) {
        std::printf("I/O ERR: ");
        riff_close(riff);
        return nullptr;
    }
    return riff;
}

int convert_start(Player& player, const char* path) {
    char* name = output_name(path);
    if (name) {
        std::printf(" to '%s': ", name);
        player.riff = create_wave_file(player, name);
        std::free(name);
    } else {
        std::printf(": ");
    }
    if (!player.riff) {
        std::printf("CANNOT CREATE\n");
        return -1;
    }
    player.stream->io = write_to_riff;
    player.stream->io_context = player.riff;
    return 0;
}

void convert_write(Player& player, const std::uint8_t* pcm_block) {
    codec_stream_write(player.stream, pcm_block, pcm_block_bytes);
}

void convert_stop(Player& player) {
    std::fprintf(stderr, "> Closing RIFF.\n");
    riff_close(player.riff);
    player.riff = nullptr;
    std::fprintf(stderr, "> RIFF closed.\n");
}

int play_start(Player& player, const char*) {
    std::printf(": ");
    if (audio_start(player.audio, pull_block, nullptr) < 0) {
        std::printf("ERROR\n");
        return -1;
    }
    return 0;
}

// A block that was not pulled yet is overwritten.
void play_write(Player&, const std::uint8_t* pcm_block) {
    std::memcpy(waiting_block.bytes, pcm_block, sizeof waiting_block.bytes);
    block_ready = 1;
}

void play_stop(Player& player) {
    std::fprintf(stderr, "> Stopping Audio.\n");
    audio_stop(player.audio);
    std::fprintf(stderr, "> Audio stopped.\n");
}

}  // namespace

const Sink convert_sink = {"Convert", true, convert_start, convert_write, convert_stop};
// Kept: a recording whose playback cannot start stays open.
const Sink play_sink = {"Play", false, play_start, play_write, play_stop};

char* output_name(const char* path) {
    constexpr char extension[] = ".wav";
    const std::size_t length = std::strlen(path);
    char* name = static_cast<char*>(std::malloc(length + sizeof extension));
    if (!name) return nullptr;
    std::memcpy(name, path, length + 1);
    if (char* dot = std::strrchr(name, '.')) std::memcpy(dot, extension, sizeof extension);
    return name;
}

int pull_block(void*, std::uint8_t* output) {
    if (block_ready) {
        std::memcpy(output, waiting_block.bytes, sizeof waiting_block.bytes);
        block_ready = 0;
    } else {
        std::memset(output, 0, pcm_block_bytes);
    }
    return pcm_block_bytes;
}
