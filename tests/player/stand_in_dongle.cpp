// SPDX-License-Identifier: MIT
// The vocoder library's nine functions, played from the script of the surroundings.
#include <string.h>

#include <algorithm>

#include "link/dongle.h"
#include "player/sink.h"
#include "player/surroundings.h"

namespace {

// The program has one packet buffer for all its files; any other is a fault.
std::string packet_name(const unsigned char* packet) {
    static const unsigned char* const the_packet = packet;
    return packet == the_packet ? "packet" : "another buffer";
}

void pull_blocks(int count) {
    for (int i = 0; i < count; i++) {
        std::uint8_t block[pcm_block_bytes];
        memset(block, 0xDD, sizeof block);
        const int result = pull_block(nullptr, block);
        traced("pulled " + std::to_string(result) + ": " + block_text(block));
    }
}

Answer next_answer() {
    Surroundings& around = surroundings();
    if (around.answers_given >= around.answers.size()) return {.length = -1, .keeps_type = true};
    return around.answers[around.answers_given++];
}

}  // namespace

extern "C" {

void dongle_debug(int level) {
    traced("dongle_debug(" + std::to_string(level) + ")");
}

int dongle_init(const char* port, long speed) {
    traced("dongle_init(" + std::string(port) + ", " + std::to_string(speed) + ")");
    return surroundings().dongle_init_result;
}

void dongle_hello() {
    traced("dongle_hello()");
}

void dongle_run(int running) {
    traced("dongle_run(" + std::to_string(running) + ")");
}

int dongle_send(int type, const unsigned char* packet, int length) {
    traced("dongle_send(" + std::to_string(type) + ", " + packet_name(packet) + " " + hex(packet, ambe_frame_bytes) +
           ", " + std::to_string(length) + ")");
    return -1;  // the result is not looked at
}

int dongle_recv(int* type, unsigned char* buffer, int capacity) {
    const Answer answer = next_answer();
    pull_blocks(answer.pulls);
    traced("dongle_recv(" + std::to_string(*type) + ", " + std::to_string(capacity) +
           ") = " + std::to_string(answer.length) + (answer.keeps_type ? "" : ", " + std::to_string(answer.type)));
    if (!answer.keeps_type) *type = answer.type;
    memcpy(buffer, packet_bytes(answer.seed).data(), static_cast<std::size_t>(capacity));
    return answer.length;
}

void dongle_close(int mode) {
    traced("dongle_close(" + std::to_string(mode) + ")");
}

void ambe_init(unsigned char* packet, int mode) {
    traced("ambe_init(" + packet_name(packet) + ", " + std::to_string(mode) + ")");
    memset(packet, 0, ambe_packet_bytes);
}

void ambe_send(unsigned char* packet, const unsigned char* frame) {
    traced("ambe_send(" + packet_name(packet) + ", " + hex(frame, ambe_frame_bytes) + ")");
    memcpy(packet, frame, ambe_frame_bytes);
}

}  // extern "C"
