// SPDX-License-Identifier: MIT
#include "dongle_door.h"

#include <dlfcn.h>
#include <gtest/gtest.h>

namespace {

constexpr int receive_buffer_bytes = 400;
constexpr const char* any_port = "/dev/ttyUSB0";
constexpr long any_speed = 230400;

}  // namespace

DongleDoor::DongleDoor() : handle_(dlopen(DONGLE_LIBRARY, RTLD_NOW | RTLD_LOCAL)) {
    loaded = handle_ != nullptr;
    EXPECT_TRUE(loaded) << dlerror();
    if (!loaded) return;
    look_up(debug, "dongle_debug");
    look_up(init, "dongle_init");
    look_up(hello, "dongle_hello");
    look_up(run, "dongle_run");
    look_up(send, "dongle_send");
    look_up(recv, "dongle_recv");
    look_up(close, "dongle_close");
    look_up(prepare, "ambe_init");
    look_up(fill, "ambe_send");
}

DongleDoor::~DongleDoor() {
    if (handle_ != nullptr) dlclose(handle_);
}

template <typename Function>
void DongleDoor::look_up(Function& function, const char* name) {
    function = reinterpret_cast<Function>(dlsym(handle_, name));
    EXPECT_NE(function, nullptr) << name;
    loaded = loaded && function != nullptr;
}

Received receive(const DongleDoor& dongle) {
    Received packet;
    packet.length = dongle.recv(&packet.type, packet.buffer.data(), receive_buffer_bytes);
    return packet;
}

void start_up(const DongleDoor& dongle) {
    dongle.debug(0);
    EXPECT_EQ(dongle.init(any_port, any_speed), 0);
    dongle.hello();
}

Pcm samples_of(const Received& block) {
    Pcm samples;
    for (std::size_t at = 0; at < pcm_block_bytes; at += 2)
        samples.push_back(static_cast<std::int16_t>(block.buffer[at] | block.buffer[at + 1] << 8));
    return samples;
}

Pcm decode_frame(const DongleDoor& dongle, std::uint8_t* packet, const AmbeFrameBytes& frame) {
    dongle.fill(packet, frame.data());
    EXPECT_GE(dongle.send(ambe_packet_type, packet, ambe_packet_bytes), 0);
    const Received block = receive(dongle);
    EXPECT_EQ(block.length, pcm_block_bytes);
    EXPECT_EQ(block.type, pcm_block_type);
    return samples_of(block);
}

Pcm decode_file(const DongleDoor& dongle, std::span<const AmbeFrameBytes> frames) {
    std::array<std::uint8_t, ambe_packet_bytes> packet{};
    Pcm pcm;
    dongle.prepare(packet.data(), 1);
    dongle.run(1);
    for (const AmbeFrameBytes& frame : frames) {
        const Received request = receive(dongle);
        EXPECT_EQ(request.length, ambe_packet_bytes);
        EXPECT_EQ(request.type, ambe_packet_type);
        const Pcm block = decode_frame(dongle, packet.data(), frame);
        pcm.insert(pcm.end(), block.begin(), block.end());
        if (testing::Test::HasFailure()) return pcm;
    }
    dongle.run(0);
    return pcm;
}

Pcm decoded(std::span<const AmbeFrameBytes> frames) {
    const DongleDoor dongle;
    if (!dongle.loaded) return {};
    start_up(dongle);
    const Pcm pcm = decode_file(dongle, frames);
    dongle.close(0);
    return pcm;
}
