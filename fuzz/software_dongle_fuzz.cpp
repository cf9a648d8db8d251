// SPDX-License-Identifier: MIT
// Any calls in any order, with any packets, over the nine functions of the software dongle.
//
// The input is a list of calls: one byte chooses the call, those behind it its arguments. Held: packets come in the
// order of the contract, nothing is written beyond the capacity (each buffer is exactly that large), no sample leaves
// -32767 to 32767, standard output stays empty, and whatever happened, a file afterwards decodes to the same bytes.
#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <span>
#include <vector>

#include "link/dongle.h"

namespace {

constexpr int largest_capacity = 1024;
constexpr std::uint8_t voice_frame[ambe_frame_bytes] = {0xE0, 0xF9, 0x2D, 0x4E, 0x5C, 0x49, 0xE3, 0xF1, 0x83, 0, 0, 0};
constexpr int last_file_frames = 3;

void check(bool holds) {
    if (!holds) std::abort();
}

// The arguments; zeros when the input has ended.
struct Input {
    std::span<const std::uint8_t> rest;
    std::uint8_t byte() {
        if (rest.empty()) return 0;
        const std::uint8_t first = rest.front();
        rest = rest.subspan(1);
        return first;
    }
    int small_number() { return static_cast<std::int8_t>(byte()); }
    int number() { return static_cast<int>(byte() << 24 | byte() << 16 | byte() << 8 | byte()); }
    void fill(std::span<std::uint8_t> target) {
        for (std::uint8_t& value : target) value = byte();
    }
};

// What the contract says is waiting. After ambe_init in the middle of a file that is open until the next packet.
struct Expected {
    bool open = false, running = false;
    bool block = false, request = false;
    bool anything = false;
};

struct Session {
    Expected expected;
    std::array<std::uint8_t, ambe_packet_bytes> packet{};
};

void check_block(const std::uint8_t* block) {
    for (int at = 0; at < pcm_block_bytes; at += 2)
        check(static_cast<std::int16_t>(block[at] | block[at + 1] << 8) != -32768);
}

void check_received(Expected& expected, int length, int type, int capacity) {
    const int waiting = !expected.running  ? 0
                        : expected.block   ? pcm_block_bytes
                        : expected.request ? ambe_packet_bytes
                                           : 0;
    if (length > 0) {
        check(length <= capacity && expected.running);
        check((length == pcm_block_bytes && type == pcm_block_type) ||
              (length == ambe_packet_bytes && type == ambe_packet_type));
    }
    if (expected.anything && length >= 0) {
        expected = {.open = true, .running = true, .request = length == pcm_block_bytes};
        return;
    }
    if (expected.anything) return;
    check(length == waiting || (length < 0 && (capacity < waiting || !expected.open)));
    if (length == pcm_block_bytes) expected.block = false;
    if (length == ambe_packet_bytes) expected.request = false;
}

void receive(Session& session, int capacity) {
    const auto room = static_cast<std::size_t>(std::clamp(capacity, 1, largest_capacity));
    std::vector<std::uint8_t> buffer(room);
    int type = 0;
    const int length = dongle_recv(&type, buffer.data(), std::min(capacity, largest_capacity));
    check_received(session.expected, length, type, capacity);
    if (length == pcm_block_bytes) check_block(buffer.data());
}

void send(Session& session, int type, const std::vector<std::uint8_t>& packet, int length) {
    const bool accepted = dongle_send(type, packet.data(), length) >= 0;
    if (!accepted) return;
    Expected& expected = session.expected;
    check(expected.running && type == ambe_packet_type && length == ambe_packet_bytes);
    check(expected.anything || !expected.block);
    expected.block = expected.request = true;
}

void send_frame(Session& session, const std::uint8_t* frame) {
    ambe_send(session.packet.data(), frame);
    send(session, ambe_packet_type, {session.packet.begin(), session.packet.end()}, ambe_packet_bytes);
}

void run(Session& session, int running) {
    dongle_run(running);
    const bool open = session.expected.open;
    if (running == 1) session.expected = {.open = open, .running = open, .request = open};
    if (running == 0) session.expected = {.open = open};
}

void prepare(Session& session, int mode) {
    ambe_init(session.packet.data(), mode);
    session.expected.anything = session.expected.running;
}

void init(Session& session, Input& input) {
    std::array<char, 17> port{};
    for (std::size_t n = input.byte() % port.size(), at = 0; at < n; ++at) port[at] = static_cast<char>(input.byte());
    check(dongle_init(port.data(), input.number()) == 0);
    session.expected = {.open = true};
}

void close_dongle(Session& session, int mode) {
    dongle_close(mode);
    session.expected = {};
}

void call_with_null(Session& session) {
    int type = 0;
    std::array<std::uint8_t, 400> buffer{};
    check(dongle_recv(&type, nullptr, 400) <= 0);
    check(dongle_recv(nullptr, buffer.data(), 400) <= 0);
    check(dongle_send(ambe_packet_type, nullptr, ambe_packet_bytes) < 0);
    ambe_send(nullptr, voice_frame);
    ambe_send(session.packet.data(), nullptr);
    ambe_send(nullptr, nullptr);
}

void send_any_packet(Session& session, Input& input) {
    std::vector<std::uint8_t> packet(ambe_packet_bytes);
    input.fill(packet);
    send(session, ambe_packet_type, packet, ambe_packet_bytes);
}

void send_any_length(Session& session, Input& input) {
    const int type = input.small_number(), length = input.number();
    send(session, type, std::vector<std::uint8_t>(ambe_packet_bytes), length % 1000);
}

void send_any_frame(Session& session, Input& input) {
    std::array<std::uint8_t, ambe_frame_bytes> frame;
    input.fill(frame);
    send_frame(session, frame.data());
}

void send_damaged_frame(Session& session, Input& input) {
    std::array<std::uint8_t, ambe_frame_bytes> frame;
    std::copy(std::begin(voice_frame), std::end(voice_frame), frame.begin());
    for (unsigned n = input.byte() % 8u; n > 0; --n) {
        const unsigned bit = input.byte() % 72u;
        frame[bit / 8] = static_cast<std::uint8_t>(frame[bit / 8] ^ (1u << bit % 8));
    }
    send_frame(session, frame.data());
}

void call(Session& session, Input& input) {
    switch (input.byte() % 16) {
        case 0: dongle_debug(input.small_number()); break;
        case 1: init(session, input); break;
        case 2: dongle_hello(); break;
        case 3: run(session, 1); break;
        case 4: run(session, 0); break;
        case 5: prepare(session, input.small_number()); break;
        case 6: receive(session, input.number() % largest_capacity); break;
        case 7: close_dongle(session, input.small_number()); break;
        case 8: call_with_null(session); break;
        case 9: send_any_packet(session, input); break;
        case 10: send_any_length(session, input); break;
        case 11: send_any_frame(session, input); break;
        case 12: send_damaged_frame(session, input); break;
        case 13: send_frame(session, voice_frame); break;
        default: receive(session, 400); break;  // 14 and 15: the call of every program
    }
}

// A file of three frames, as the program decodes it.
std::vector<std::uint8_t> last_file() {
    std::vector<std::uint8_t> pcm;
    std::array<std::uint8_t, ambe_packet_bytes> packet{};
    std::array<std::uint8_t, 400> buffer{};
    int type = 0;
    check(dongle_init("/dev/ttyUSB0", 230400) == 0);
    ambe_init(packet.data(), 1);
    dongle_run(1);
    for (int frame = 0; frame < last_file_frames; ++frame) {
        check(dongle_recv(&type, buffer.data(), 400) == ambe_packet_bytes && type == ambe_packet_type);
        ambe_send(packet.data(), voice_frame);
        check(dongle_send(ambe_packet_type, packet.data(), ambe_packet_bytes) >= 0);
        check(dongle_recv(&type, buffer.data(), 400) == pcm_block_bytes && type == pcm_block_type);
        pcm.insert(pcm.end(), buffer.begin(), buffer.begin() + pcm_block_bytes);
    }
    dongle_run(0);
    dongle_close(0);
    return pcm;
}

// Standard error goes nowhere while the dongle may speak; libFuzzer needs it between inputs.
struct QuietStandardError {
    int saved = dup(STDERR_FILENO);
    QuietStandardError() {
        static const int nowhere = open("/dev/null", O_WRONLY);
        dup2(nowhere, STDERR_FILENO);
    }
    ~QuietStandardError() {
        dup2(saved, STDERR_FILENO);
        close(saved);
    }
};

bool input_speaks(std::span<const std::uint8_t> input) {
    return std::any_of(input.begin(), input.end(), [](std::uint8_t byte) { return byte % 16 == 0; });
}

void run_calls(std::span<const std::uint8_t> calls) {
    static const std::vector<std::uint8_t> undisturbed = last_file();
    Session session;
    for (Input input{calls}; !input.rest.empty();) call(session, input);
    dongle_debug(0);
    dongle_close(0);
    check(last_file() == undisturbed);
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    return dup2(memfd_create("standard output", 0), STDOUT_FILENO) < 0 ? -1 : 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::span<const std::uint8_t> calls(data, size);
    if (input_speaks(calls)) {
        const QuietStandardError quiet;
        run_calls(calls);
    } else {
        run_calls(calls);
    }
    check(lseek(STDOUT_FILENO, 0, SEEK_END) == 0);
    return 0;
}
