// SPDX-License-Identifier: MIT
#include "dongle_packet.h"

#include <gtest/gtest.h>

#include <array>
#include <cstring>

namespace {

using Packet = std::array<std::uint8_t, ambe_packet_bytes>;
using Frame = std::array<std::uint8_t, ambe_frame_bytes>;

constexpr Frame numbered_frame = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12};

Packet packet_of(const Frame& content) {
    Packet packet;
    packet.fill(0xEE);
    dongle_packet_build(packet, content);
    return packet;
}

}  // namespace

TEST(DonglePacket, CarriesTheTwelveBytesOfTheFrame) {
    const Packet packet = packet_of(numbered_frame);
    const std::uint8_t* content = dongle_packet_frame(packet);
    ASSERT_NE(content, nullptr);
    EXPECT_EQ(std::memcmp(content, numbered_frame.data(), numbered_frame.size()), 0);
}

TEST(DonglePacket, DoesNotDependOnWhatThePacketHeldBefore) {
    Packet packet{};
    dongle_packet_build(packet, numbered_frame);
    EXPECT_EQ(packet, packet_of(numbered_frame));
}

TEST(DonglePacket, FrameMayLieInsideThePacketThatIsBuilt) {
    Packet packet{};
    std::memcpy(&packet[3], numbered_frame.data(), numbered_frame.size());
    dongle_packet_build(packet, FrameBytes{&packet[3], ambe_frame_bytes});
    EXPECT_EQ(packet, packet_of(numbered_frame));
}

TEST(DonglePacket, PreparedPacketCarriesNoFrame) {
    Packet packet = packet_of(numbered_frame);
    dongle_packet_prepare(packet);
    EXPECT_EQ(dongle_packet_frame(packet), nullptr);
}

TEST(DonglePacket, PacketOfZerosCarriesNoFrame) {
    const Packet packet{};
    EXPECT_EQ(dongle_packet_frame(packet), nullptr);
}

TEST(DonglePacket, CheckIsTheCrcOfTheBytesBeforeIt) {
    // CRC-16/CCITT-FALSE, computed by long division of the message bits, the first sixteen inverted.
    const Packet packet = packet_of(numbered_frame);
    std::uint32_t rest = 0;
    for (int bit = 0; bit < 8 * 46 + 16; bit++) {
        const auto byte = static_cast<std::size_t>(bit / 8);
        std::uint32_t next = byte < 46 ? packet[byte] >> (7 - bit % 8) & 1U : 0U;
        if (bit < 16) next ^= 1U;
        rest = rest << 1 | next;
        if ((rest & 0x10000U) != 0) rest ^= 0x11021U;
    }
    EXPECT_EQ(rest, static_cast<std::uint32_t>(packet[46] << 8 | packet[47]));
}

TEST(DonglePacket, AnySingleWrongBitIsNoticed) {
    for (std::size_t bit = 0; bit < 8 * ambe_packet_bytes; bit++) {
        Packet packet = packet_of(numbered_frame);
        packet[bit / 8] = static_cast<std::uint8_t>(packet[bit / 8] ^ (1 << bit % 8));
        EXPECT_EQ(dongle_packet_frame(packet), nullptr) << bit;
    }
}
