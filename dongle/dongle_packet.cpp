// SPDX-License-Identifier: MIT
// The 48-byte packet that carries one AMBE frame.
#include "dongle_packet.h"

#include <cstring>

namespace {

constexpr char mark[] = "AMBE";
constexpr std::size_t mark_bytes = 4;
constexpr std::size_t kind_offset = 4;
constexpr std::size_t length_offset = 5;
constexpr std::size_t frame_offset = 6;
constexpr std::size_t check_offset = 46;

enum Kind : std::uint8_t { kind_empty = 0, kind_frame = 1 };

constexpr int bytes_at_once = 8;

// What a byte leaves of the division when `following` more bytes, zeros here, come behind it.
struct CheckTables {
    std::uint16_t following[bytes_at_once][256];
};

constexpr std::uint16_t divided(std::uint32_t rest) {
    for (int bit = 0; bit < 8; bit++) rest = (rest & 0x8000U) != 0 ? rest << 1 ^ 0x1021U : rest << 1;
    return static_cast<std::uint16_t>(rest);
}

constexpr CheckTables make_check_tables() {
    CheckTables tables{};
    for (std::uint32_t byte = 0; byte < 256; byte++) {
        std::uint16_t rest = divided(byte << 8);
        for (auto& table : tables.following) {
            table[byte] = rest;
            rest = divided(rest);
        }
    }
    return tables;
}

constexpr CheckTables check_tables = make_check_tables();

// The division is linear: eight bytes at once are the sum of what each of them leaves.
constexpr std::uint16_t check_of(const std::uint8_t* packet) {
    std::uint32_t rest = 0xFFFF;
    std::size_t at = 0;
    for (; at + bytes_at_once <= check_offset; at += bytes_at_once) {
        std::uint32_t sum = check_tables.following[7][packet[at] ^ rest >> 8];
        sum ^= check_tables.following[6][packet[at + 1] ^ (rest & 0xFFU)];
        for (std::size_t i = 2; i < bytes_at_once; i++)
            sum ^= check_tables.following[bytes_at_once - 1 - i][packet[at + i]];
        rest = sum;
    }
    for (; at < check_offset; at++) rest = (rest << 8 & 0xFF00U) ^ check_tables.following[0][rest >> 8 ^ packet[at]];
    return static_cast<std::uint16_t>(rest);
}

struct Packet {
    std::uint8_t bytes[ambe_packet_bytes];
};

constexpr void seal(std::uint8_t* packet) {
    const std::uint16_t check = check_of(packet);
    packet[check_offset] = static_cast<std::uint8_t>(check >> 8);
    packet[check_offset + 1] = static_cast<std::uint8_t>(check & 0xFF);
}

constexpr Packet make_empty_packet() {
    Packet packet{};
    for (std::size_t i = 0; i < mark_bytes; i++) packet.bytes[i] = static_cast<std::uint8_t>(mark[i]);
    packet.bytes[kind_offset] = kind_empty;
    packet.bytes[length_offset] = ambe_frame_bytes;
    seal(packet.bytes);
    return packet;
}

constexpr Packet empty_packet = make_empty_packet();

}  // namespace

void dongle_packet_prepare(PacketBytes packet) {
    std::memcpy(packet.data(), empty_packet.bytes, sizeof empty_packet.bytes);
}

void dongle_packet_build(PacketBytes packet, FrameBytes frame) {
    std::uint8_t copy[ambe_frame_bytes];  // the frame may lie inside the packet
    std::memcpy(copy, frame.data(), sizeof copy);
    dongle_packet_prepare(packet);
    packet[kind_offset] = kind_frame;
    std::memcpy(&packet[frame_offset], copy, sizeof copy);
    seal(packet.data());
}

const std::uint8_t* dongle_packet_frame(std::span<const std::uint8_t, ambe_packet_bytes> packet) {
    if (std::memcmp(packet.data(), mark, mark_bytes) != 0) return nullptr;
    if (packet[kind_offset] != kind_frame || packet[length_offset] != ambe_frame_bytes) return nullptr;
    const std::uint32_t check = static_cast<std::uint32_t>(packet[check_offset] << 8 | packet[check_offset + 1]);
    return check == check_of(packet.data()) ? &packet[frame_offset] : nullptr;
}
