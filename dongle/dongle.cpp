// SPDX-License-Identifier: MIT
// The nine functions of the vocoder library over one software vocoder: no serial line, no hardware.
//
// Between dongle_run(1) and dongle_run(0) the vocoder is in one of three stages:
//
//   stage    dongle_recv gives        dongle_send
//   asks     (48, 5), then waits      refused
//   waits    nothing, 0               takes the frame, then speaks
//   speaks   (320, 4), then asks      refused
#include "link/dongle.h"

#include <cstdint>
#include <cstdio>
#include <span>

#include "ambe_decoder.h"
#include "dongle_packet.h"

static_assert(ambe_packet_bytes == dongle_packet_size && ambe_frame_bytes == dongle_frame_size &&
              dongle_frame_size == ambe_frame_size && pcm_block_bytes == 2 * frame_samples);

namespace {

constexpr int refused = -1;
constexpr int debug_files = 1;   // one line a file
constexpr int debug_frames = 2;  // one line a frame

enum class Stage { closed, stopped, asks, waits, speaks };

struct SoftwareDongle {
    Stage stage;
    int debug;
    AmbeDecoder decoder;
    std::int16_t samples[frame_samples];
};

// One dongle a process, as the contract has it.
SoftwareDongle instance{};

bool is_running() {
    return instance.stage != Stage::closed && instance.stage != Stage::stopped;
}

void report_file() {
    const DecoderCounts& counts = instance.decoder.counts;
    std::fprintf(stderr, "Dongle: %ld frames, %ld bits corrected, %ld repeated, %ld muted\n", counts.frames,
                 counts.corrected_bits, counts.repeated, counts.muted);
}

void report_frame() {
    const AmbeDecoder& decoder = instance.decoder;
    const int* field = decoder.frame.field;
    std::fprintf(stderr, "Dongle: frame %ld %s, errors %d %d, rate %d ppm, fields %d %d %d %d %d %d %d %d %d\n",
                 decoder.counts.frames - 1, frame_action_name(decoder.action), decoder.frame.errors_c0,
                 decoder.frame.errors_c1, static_cast<int>(decoder.error_rate * 1e6F), field[0], field[1], field[2],
                 field[3], field[4], field[5], field[6], field[7], field[8]);
}

void stop() {
    if (!is_running()) return;
    instance.stage = Stage::stopped;
    if (instance.debug >= debug_files) report_file();
}

void start() {
    stop();
    ambe_decoder_start(instance.decoder, arithmetic_of_this_processor());
    instance.stage = Stage::asks;
}

int give_request(int* type, unsigned char* buffer, int capacity) {
    if (capacity < ambe_packet_bytes) return refused;
    dongle_packet_prepare(PacketBytes{buffer, dongle_packet_size});
    *type = ambe_packet_type;
    instance.stage = Stage::waits;
    return ambe_packet_bytes;
}

int give_block(int* type, unsigned char* buffer, int capacity) {
    if (capacity < pcm_block_bytes) return refused;
    for (int i = 0; i < frame_samples; i++) {
        const auto sample = static_cast<std::uint16_t>(instance.samples[i]);
        buffer[2 * i] = static_cast<unsigned char>(sample & 0xFF);
        buffer[2 * i + 1] = static_cast<unsigned char>(sample >> 8);
    }
    *type = pcm_block_type;
    instance.stage = Stage::asks;
    return pcm_block_bytes;
}

}  // namespace

// The declarations are the program's; what the library shows to the world is said here.
#pragma GCC visibility push(default)
extern "C" {

void dongle_debug(int level) {
    instance.debug = level;
}

int dongle_init(const char* /*port*/, long /*speed*/) {
    stop();
    instance.stage = Stage::stopped;
    return 0;
}

void dongle_hello() {}

void dongle_run(int running) {
    if (instance.stage == Stage::closed) return;
    if (running != 0)
        start();
    else
        stop();
}

int dongle_send(int type, const unsigned char* packet, int length) {
    if (instance.stage != Stage::waits) return refused;
    if (type != ambe_packet_type || packet == nullptr || length != ambe_packet_bytes) return refused;
    const std::uint8_t* frame =
        dongle_packet_frame(std::span<const std::uint8_t, dongle_packet_size>{packet, dongle_packet_size});
    if (frame == nullptr) return refused;

    ambe_decode(instance.decoder, FrameBytes{frame, dongle_frame_size}, instance.samples);
    if (instance.debug >= debug_frames) report_frame();
    instance.stage = Stage::speaks;
    return 0;
}

int dongle_recv(int* type, unsigned char* buffer, int capacity) {
    if (type == nullptr || buffer == nullptr || capacity < 0) return refused;
    switch (instance.stage) {
        case Stage::closed: return refused;
        case Stage::stopped: return 0;
        case Stage::asks: return give_request(type, buffer, capacity);
        case Stage::waits: return 0;
        case Stage::speaks: return give_block(type, buffer, capacity);
    }
    return refused;
}

void dongle_close(int /*mode*/) {
    stop();
    instance.stage = Stage::closed;
}

void ambe_init(unsigned char* packet, int /*mode*/) {
    if (packet != nullptr) dongle_packet_prepare(PacketBytes{packet, dongle_packet_size});
    ambe_decoder_start(instance.decoder, arithmetic_of_this_processor());
}

void ambe_send(unsigned char* packet, const unsigned char* frame) {
    if (packet == nullptr || frame == nullptr) return;
    dongle_packet_build(PacketBytes{packet, dongle_packet_size}, FrameBytes{frame, dongle_frame_size});
}

}  // extern "C"
#pragma GCC visibility pop
