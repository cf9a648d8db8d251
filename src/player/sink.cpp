// SPDX-License-Identifier: MIT
#include "player/sink.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "riff/fourcc.h"
#include "riff/riff_file.h"
#include "riff/riff_rescue.h"
#include "riff/wave_format.h"

namespace {

constexpr std::uint32_t wave_form = fourcc("WAVE");

// Convert mode: the file that is being written, null between files.
RiffFile* wave_file = nullptr;

// Play mode: a queue of one block, the newest. The pull callback gets no context, so it stands here for all files.
std::uint8_t waiting_block[pcm_block_bytes];
bool block_ready = false;  // waiting_block holds a block that was not pulled yet

// The codec stream's output callback.
int write_to_riff(void* riff, std::uint8_t* bytes, int count) {
    auto* file = static_cast<RiffFile*>(riff);
    const int result = riff_write_data(file, bytes, count);
    riff_rescue_note(*file);
    return result;
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

// riff_open takes only a file that exists, and does not empty it.
void create_or_truncate(const char* path) {
    std::FILE* file = std::fopen(path, "wb");
    if (file != nullptr) std::fclose(file);
}

// Returns an empty WAVE file, its "fmt " chunk written; null when it cannot be made.
RiffFile* open_wave_file(const char* path, WaveFormat format) {
    create_or_truncate(path);
    RiffFile* riff = riff_open(path, wave_form);
    if (riff == nullptr) return nullptr;
    if (riff_write_format(riff, &format) < 0) {
        std::printf("I/O ERR: ");
        riff_close(riff);
        return nullptr;
    }
    return riff;
}

// The same, with the rescue set up before the file is created. It stays until the file is closed (convert_stop).
RiffFile* create_wave_file(const Player& player, const char* path) {
    const WaveFormat format = output_format(player);
    riff_rescue_begin(path, wave_form, format);
    RiffFile* riff = open_wave_file(path, format);
    if (riff == nullptr) {
        riff_rescue_end();
    } else {
        riff_rescue_attach(*riff);
    }
    return riff;
}

// Sets where the codec stream hands its blocks; null for both while no file is open.
void connect(CodecStream& stream, CodecIoCallback callback, RiffFile* file) {
    stream.io = callback;
    stream.io_context = file;
}

int convert_start(Player& player, const char* path) {
    char* name = output_name(path);
    if (name != nullptr) {
        std::printf(" to '%s': ", name);
        wave_file = create_wave_file(player, name);
        std::free(name);
    } else {
        std::printf(": ");
    }
    if (wave_file == nullptr) {
        std::printf("CANNOT CREATE\n");
        return -1;
    }
    connect(*player.stream, write_to_riff, wave_file);
    return 0;
}

void convert_write(Player& player, PcmBlock block) {
    codec_stream_write(player.stream, block.data(), pcm_block_bytes);
}

void convert_stop(Player& player) {
    std::fprintf(stderr, "> Closing RIFF.\n");
    connect(*player.stream, nullptr, nullptr);
    riff_close(wave_file);
    riff_rescue_end();
    wave_file = nullptr;
    std::fprintf(stderr, "> RIFF closed.\n");
}

int play_start(Player& player, const char*) {
    std::printf(": ");
    // The audio layer of this program always returns 0 here: a device that fails is silent.
    if (audio_start(player.audio, pull_block, nullptr) < 0) {
        std::printf("ERROR\n");
        return -1;
    }
    return 0;
}

// Overwrites a block that was not pulled: the silent device pulls none.
void play_write(Player& player, PcmBlock block) {
    std::ranges::copy(block, waiting_block);
    block_ready = true;
    audio_service(player.audio);
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
    if (name == nullptr) return nullptr;
    std::memcpy(name, path, length + 1);
    char* dot = std::strrchr(name, '.');
    if (dot != nullptr) std::memcpy(dot, extension, sizeof extension);
    return name;
}

// The audio layer takes a block as the vocoder delivers it.
static_assert(pcm_block_bytes == audio_block_bytes);

int pull_block(void*, std::uint8_t* output) {
    if (block_ready) {
        std::memcpy(output, waiting_block, sizeof waiting_block);
        block_ready = false;
    } else {
        std::memset(output, 0, pcm_block_bytes);
    }
    return pcm_block_bytes;
}
