// SPDX-License-Identifier: MIT
// The nine functions of the vocoder library over one software vocoder: no serial line, no hardware.
//
// Between dongle_run(1) and dongle_run(0) the vocoder is in one of three stages:
//
//   stage    dongle_recv gives        dongle_send
//   asks     (48, 5), then waits      refused
//   waits    nothing, 0               takes the frame, then speaks
//   speaks   (320, 4), then asks      refused
//
// ambe_init and dongle_run(1) both restart the decoder, because a caller may use either alone between two files. The
// program calls both.
#include "software_dongle.h"

#include <cstdio>
#include <span>

#include "ambe/ambe_decoder.h"
#include "dongle_packet.h"
#include "link/dongle.h"

static_assert(pcm_block_bytes == sizeof(PcmSamples));

namespace {

constexpr int refused = -1;
constexpr int debug_files = 1;   // one line a file
constexpr int debug_frames = 2;  // one line a frame

enum class Stage { closed, stopped, asks, waits, speaks };

struct SoftwareDongle {
    Stage stage;
    int debug;
    const DecoderVersion* version;  // null: the fastest of this processor
    AmbeDecoder decoder;
    PcmSamples samples;
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
    const AmbeFrame& frame = decoder.frame;
    std::fprintf(stderr, "Dongle: frame %ld %s, errors %d %d, rate %d ppm, fields %d %d %d %d %d %d %d %d %d\n",
                 decoder.counts.frames - 1, frame_action_name(decoder.action), frame.errors_c0, frame.errors_c1,
                 static_cast<int>(decoder.error_rate * 1e6F), frame.pitch_index, frame.voicing_index, frame.gain_index,
                 frame.prba24_index, frame.prba58_index, frame.hoc1_index, frame.hoc2_index, frame.hoc3_index,
                 frame.hoc4_index);
}

void stop() {
    if (!is_running()) return;
    instance.stage = Stage::stopped;
    if (instance.debug >= debug_files) report_file();
}

void start_decoder() {
    const DecoderVersion* version = instance.version;
    ambe_decoder_start(instance.decoder, version != nullptr ? *version : decoder_version_of_this_processor());
}

void start() {
    stop();
    start_decoder();
    instance.stage = Stage::asks;
}

int give_request(int* type, unsigned char* buffer, int capacity) {
    if (capacity < ambe_packet_bytes) return refused;
    dongle_packet_prepare(PacketBytes{buffer, ambe_packet_bytes});
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

void software_dongle_use(const DecoderVersion& version) {
    instance.version = &version;
}

// Exports these nine; link/dongle.h, which the program includes as well, does not.
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
        dongle_packet_frame(std::span<const std::uint8_t, ambe_packet_bytes>{packet, ambe_packet_bytes});
    if (frame == nullptr) return refused;

    ambe_decode(instance.decoder, FrameBytes{frame, ambe_frame_bytes}, instance.samples);
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
    if (packet != nullptr) dongle_packet_prepare(PacketBytes{packet, ambe_packet_bytes});
    start_decoder();
}

void ambe_send(unsigned char* packet, const unsigned char* frame) {
    if (packet == nullptr || frame == nullptr) return;
    dongle_packet_build(PacketBytes{packet, ambe_packet_bytes}, FrameBytes{frame, ambe_frame_bytes});
}

}  // extern "C"
#pragma GCC visibility pop
