// SPDX-License-Identifier: MIT
// Packets through the nine functions: their order, what is refused, and when the decoder starts afresh.
#include <gmock/gmock.h>

#include <algorithm>
#include <climits>

#include "dongle_door.h"
#include "frame_builder.h"

namespace {

using testing::SizeIs;

constexpr std::uint8_t untouched = 0xA5;

class SoftwareDonglePackets : public testing::Test {
  protected:
    void SetUp() override {
        ASSERT_TRUE(dongle.loaded);
        start_up(dongle);
    }
    void TearDown() override { dongle.close(0); }

    void start() {
        dongle.prepare(packet.data(), 1);
        dongle.run(1);
    }
    void start_and_be_asked() {
        start();
        expect_request();
    }
    int send(const AmbeFrameBytes& frame) {
        dongle.fill(packet.data(), frame.data());
        return dongle.send(ambe_packet_type, packet.data(), ambe_packet_bytes);
    }
    void expect_packet(int length, int type) {
        const Received received = receive(dongle);
        EXPECT_EQ(received.length, length);
        EXPECT_EQ(received.type, type);
    }
    void expect_request() { expect_packet(ambe_packet_bytes, ambe_packet_type); }
    void expect_block() { expect_packet(pcm_block_bytes, pcm_block_type); }
    void expect_nothing() { EXPECT_EQ(receive(dongle).length, 0); }
    void expect_refused() { EXPECT_LT(dongle.send(ambe_packet_type, packet.data(), ambe_packet_bytes), 0); }

    // Receives into `capacity` bytes of a larger buffer: nothing behind them may change.
    int receive_into(int capacity) {
        buffer.fill(untouched);
        int type = 0;
        const int length = dongle.recv(&type, buffer.data(), capacity);
        const auto allowed = static_cast<std::ptrdiff_t>(std::max(capacity, 0));
        if (allowed < static_cast<std::ptrdiff_t>(buffer.size())) {
            EXPECT_TRUE(std::all_of(buffer.begin() + allowed, buffer.end(), [](auto b) { return b == untouched; }));
        }
        return length;
    }

    DongleDoor dongle;
    std::array<std::uint8_t, ambe_packet_bytes> packet{};
    std::array<std::uint8_t, 512> buffer{};
    std::vector<AmbeFrameBytes> story = raw_frames("golden/story_600.raw12");
};

}  // namespace

TEST_F(SoftwareDonglePackets, VeryFirstReceiveAsksForAFrame) {
    start_and_be_asked();
}

TEST_F(SoftwareDonglePackets, EachFrameIsAnsweredByABlockAndTheNextRequest) {
    start_and_be_asked();
    for (std::size_t k = 0; k < 20; ++k) {
        EXPECT_GE(send(story[k]), 0);
        expect_block();
        expect_request();
    }
}

TEST_F(SoftwareDonglePackets, NothingIsReceivedWhileTheDongleWaitsForAFrame) {
    start_and_be_asked();
    expect_nothing();
    expect_nothing();
    EXPECT_GE(send(story[0]), 0);
    expect_block();
    expect_request();
    expect_nothing();
}

TEST_F(SoftwareDonglePackets, NothingIsReceivedBeforeTheStart) {
    expect_nothing();
    dongle.prepare(packet.data(), 1);
    expect_nothing();
    dongle.run(0);
    expect_nothing();
}

TEST_F(SoftwareDonglePackets, NothingIsReceivedAfterTheStop) {
    start_and_be_asked();
    EXPECT_GE(send(story[0]), 0);
    dongle.run(0);
    expect_nothing();
    expect_refused();
    expect_nothing();
}

TEST_F(SoftwareDonglePackets, StartAfterAStopAsksForAFrameAgain) {
    for (int file = 0; file < 3; ++file) {
        start_and_be_asked();
        EXPECT_GE(send(story[0]), 0);
        dongle.run(0);
    }
}

TEST_F(SoftwareDonglePackets, FrameIsRefusedBeforeItIsAskedFor) {
    start();
    EXPECT_LT(send(story[0]), 0);
    expect_request();
    EXPECT_GE(send(story[0]), 0);
    expect_block();
    EXPECT_LT(send(story[1]), 0);
    expect_request();
}

TEST_F(SoftwareDonglePackets, SecondFrameIsRefusedWhileABlockWaits) {
    start_and_be_asked();
    EXPECT_GE(send(story[0]), 0);
    EXPECT_LT(send(story[1]), 0);
    expect_block();
    expect_request();
    expect_nothing();
}

TEST_F(SoftwareDonglePackets, OnlyTypeFiveIsAccepted) {
    start_and_be_asked();
    dongle.fill(packet.data(), story[0].data());
    for (const int type : {INT_MIN, -5, -1, 0, 1, 2, 3, 4, 6, 7, 5 + 256, INT_MAX})
        EXPECT_LT(dongle.send(type, packet.data(), ambe_packet_bytes), 0) << type;
    expect_nothing();
}

TEST_F(SoftwareDonglePackets, OnlyFortyEightBytesAreAccepted) {
    start_and_be_asked();
    dongle.fill(packet.data(), story[0].data());
    for (const int length : {INT_MIN, -48, -1, 0, 1, 12, 47, 49, 96, 320, INT_MAX})
        EXPECT_LT(dongle.send(ambe_packet_type, packet.data(), length), 0) << length;
    EXPECT_LT(dongle.send(ambe_packet_type, nullptr, ambe_packet_bytes), 0);
    expect_nothing();
    EXPECT_GE(dongle.send(ambe_packet_type, packet.data(), ambe_packet_bytes), 0);
    expect_block();
}

TEST_F(SoftwareDonglePackets, CapacityTooSmallForTheRequestIsAFailure) {
    for (const int capacity : {INT_MIN, -1, 0, 1, 47}) {
        start();
        EXPECT_LT(receive_into(capacity), 0) << capacity;
    }
    start();
    EXPECT_EQ(receive_into(48), 48);
}

TEST_F(SoftwareDonglePackets, CapacityTooSmallForTheBlockIsAFailure) {
    for (const int capacity : {INT_MIN, -320, -1, 0, 1, 48, 319}) {
        start_and_be_asked();
        EXPECT_GE(send(story[0]), 0);
        EXPECT_LT(receive_into(capacity), 0) << capacity;
    }
    start_and_be_asked();
    EXPECT_GE(send(story[0]), 0);
    EXPECT_EQ(receive_into(320), 320);
}

// A caller that comes back with more room loses nothing.
TEST_F(SoftwareDonglePackets, PacketThatDidNotFitIsStillThere) {
    start();
    EXPECT_LT(receive_into(47), 0);
    expect_request();
    EXPECT_GE(send(story[0]), 0);
    EXPECT_LT(receive_into(319), 0);
    expect_block();
}

TEST_F(SoftwareDonglePackets, NullPointersAreFailuresOrIgnored) {
    int type = 0;
    dongle.prepare(nullptr, 1);
    start();
    EXPECT_LT(dongle.recv(&type, nullptr, 400), 0);
    EXPECT_LT(dongle.recv(nullptr, buffer.data(), 400), 0);
    dongle.fill(nullptr, story[0].data());
    const auto before = packet;
    dongle.fill(packet.data(), nullptr);
    EXPECT_EQ(packet, before);
    dongle.fill(nullptr, nullptr);
    EXPECT_LT(dongle.send(ambe_packet_type, nullptr, ambe_packet_bytes), 0);
}

TEST_F(SoftwareDonglePackets, NoPortIsAsGoodAsAnyOther) {
    EXPECT_EQ(dongle.init(nullptr, 230400), 0);
    start_and_be_asked();
}

TEST_F(SoftwareDonglePackets, PreparingAndFillingStayWithinFortyEightBytes) {
    buffer.fill(untouched);
    dongle.prepare(buffer.data() + 64, 1);
    dongle.fill(buffer.data() + 64, story[0].data());
    for (std::size_t at = 0; at < buffer.size(); ++at)
        if (at < 64 || at >= 64 + ambe_packet_bytes) {
            EXPECT_EQ(buffer[at], untouched) << at;
        }
}

TEST_F(SoftwareDonglePackets, PacketOfAnyBytesIsRefusedOrAnsweredByABlock) {
    std::uint32_t random = 1;
    for (int round = 0; round < 2000; ++round) {
        start_and_be_asked();
        for (std::uint8_t& byte : packet) byte = static_cast<std::uint8_t>((random = random * 69069 + 1) >> 24);
        if (dongle.send(ambe_packet_type, packet.data(), ambe_packet_bytes) < 0)
            expect_nothing();
        else
            expect_block();
    }
}

TEST_F(SoftwareDonglePackets, PacketThatTravelledThroughACopyIsDecoded) {
    const Pcm straight = decode_file(dongle, std::span(story).first(30));
    start();
    Pcm travelled;
    for (std::size_t k = 0; k < 30; ++k) {
        expect_request();
        dongle.fill(packet.data(), story[k].data());
        const auto copy = packet;
        dongle.fill(packet.data(), story[k + 100].data());  // what the function was told last is not what is sent
        EXPECT_GE(dongle.send(ambe_packet_type, copy.data(), ambe_packet_bytes), 0);
        packet.fill(0xFF);
        const Pcm block = samples_of(receive(dongle));
        travelled.insert(travelled.end(), block.begin(), block.end());
    }
    EXPECT_EQ(travelled, straight);
}

TEST_F(SoftwareDonglePackets, SlowDataIsIgnored) {
    std::vector<AmbeFrameBytes> other(story.begin(), story.begin() + 30);
    for (AmbeFrameBytes& frame : other) frame[9] = frame[10] = frame[11] = 0xFF;
    EXPECT_EQ(decode_file(dongle, other), decode_file(dongle, std::span(story).first(30)));
}

TEST_F(SoftwareDonglePackets, FileDecodesToTheSameBytesWhereverItStands) {
    const auto greeting = raw_frames("recordings/greeting.ambe");
    const Pcm alone = decoded(greeting);  // closes the one dongle of the process
    start_up(dongle);
    EXPECT_EQ(decode_file(dongle, greeting), alone);
    decode_file(dongle, std::span(story).first(77));
    EXPECT_EQ(decode_file(dongle, greeting), alone);
    EXPECT_EQ(decode_file(dongle, greeting), alone);
}

TEST_F(SoftwareDonglePackets, StartingAloneAndPreparingAloneRestartTheDecoder) {
    start_and_be_asked();
    const Pcm first = decode_frame(dongle, packet.data(), story[40]);
    for (const bool by_start : {true, false}) {
        expect_request();
        EXPECT_NE(decode_frame(dongle, packet.data(), story[40]), first) << "the decoder has a memory";
        if (by_start) dongle.run(1);
        expect_request();
        if (!by_start) dongle.prepare(packet.data(), 1);
        EXPECT_EQ(decode_frame(dongle, packet.data(), story[40]), first) << by_start;
    }
}

TEST_F(SoftwareDonglePackets, NothingWorksAfterTheCloseUntilTheNextInit) {
    const Pcm first = decode_file(dongle, std::span(story).first(10));
    start();
    dongle.close(0);
    EXPECT_LE(receive(dongle).length, 0);
    expect_refused();
    start();
    EXPECT_LE(receive(dongle).length, 0);
    start_up(dongle);
    EXPECT_EQ(decode_file(dongle, std::span(story).first(10)), first);
}

TEST(SoftwareDongleBeforeInit, EveryCallIsAFailureOrIgnored) {
    const auto frames = raw_frames("golden/story_600.raw12");
    std::array<std::uint8_t, ambe_packet_bytes> packet{};
    const DongleDoor dongle;
    dongle.close(0);
    dongle.hello();
    dongle.run(0);
    EXPECT_LE(receive(dongle).length, 0);
    dongle.prepare(packet.data(), 1);
    dongle.run(1);
    EXPECT_LE(receive(dongle).length, 0);
    dongle.fill(packet.data(), frames[0].data());
    EXPECT_LT(dongle.send(ambe_packet_type, packet.data(), ambe_packet_bytes), 0);
    EXPECT_LE(receive(dongle).length, 0);
    start_up(dongle);
    EXPECT_THAT(decode_file(dongle, std::span(frames).first(10)), SizeIs(1600));
}
