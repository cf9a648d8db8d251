// SPDX-License-Identifier: MIT
// The 48-byte packet that carries one AMBE frame.
#include "dongle_packet.h"

#include <cstring>

namespace {

constexpr char mark[] = "AMBE";
constexpr std::size_t mark_size = 4;
constexpr std::size_t kind_offset = 4;
constexpr std::size_t length_offset = 5;
constexpr std::size_t frame_offset = 6;
constexpr std::size_t check_offset = 46;

enum Kind : std::uint8_t { kind_empty = 0, kind_frame = 1 };

std::uint16_t check_of(const std::uint8_t* packet) {
    std::uint32_t crc = 0xFFFF;
    for (std::size_t i = 0; i < check_offset; i++) {
        crc ^= static_cast<std::uint32_t>(packet[i]) << 8;
        for (int bit = 0; bit < 8; bit++) crc = (crc & 0x8000U) != 0 ? crc << 1 ^ 0x1021U : crc << 1;
    }
    return static_cast<std::uint16_t>(crc);
}

void begin(PacketBytes packet, Kind kind) {
    std::memset(packet.data(), 0, packet.size());
    std::memcpy(packet.data(), mark, mark_size);
    packet[kind_offset] = kind;
    packet[length_offset] = dongle_frame_size;
}

void seal(PacketBytes packet) {
    const std::uint16_t check = check_of(packet.data());
    packet[check_offset] = static_cast<std::uint8_t>(check >> 8);
    packet[check_offset + 1] = static_cast<std::uint8_t>(check & 0xFF);
}

}  // namespace

void dongle_packet_prepare(PacketBytes packet) {
    begin(packet, kind_empty);
    seal(packet);
}

void dongle_packet_build(PacketBytes packet, FrameBytes frame) {
    std::uint8_t copy[dongle_frame_size];  // the frame may lie inside the packet
    std::memcpy(copy, frame.data(), sizeof copy);
    begin(packet, kind_frame);
    std::memcpy(&packet[frame_offset], copy, sizeof copy);
    seal(packet);
}

const std::uint8_t* dongle_packet_frame(std::span<const std::uint8_t, dongle_packet_size> packet) {
    if (std::memcmp(packet.data(), mark, mark_size) != 0) return nullptr;
    if (packet[kind_offset] != kind_frame || packet[length_offset] != dongle_frame_size) return nullptr;
    const std::uint32_t check = static_cast<std::uint32_t>(packet[check_offset] << 8 | packet[check_offset + 1]);
    return check == check_of(packet.data()) ? &packet[frame_offset] : nullptr;
}
