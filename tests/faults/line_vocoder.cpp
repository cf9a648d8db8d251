// SPDX-License-Identifier: MIT
#include "faults/line_vocoder.h"

#include <poll.h>
#include <sys/ioctl.h>
#include <termios.h>
#include <time.h>
#include <unistd.h>

#include <cstring>

#include "link/dongle.h"
#include "link/tio.h"
#include "support/allocations.h"
#include "support/recordings.h"

namespace {

constexpr int header_bytes = 3;  // of a packet to the program: type, length low byte first
constexpr int link_failed = -1;
constexpr int failed = -1;
constexpr int recorded_frames = 5;

struct Vocoder {
    Pty* line;
    Pty* keyboard;
    char key;
    Report* report;
    int silences;  // in this file
};
Vocoder vocoder;

Bytes packet(int type, const Bytes& content) {
    return bytes({type}) + low_first_2(static_cast<unsigned>(content.size())) + content;
}

const Bytes request = packet(ambe_packet_type, zeros(ambe_packet_bytes));

// A pseudo-terminal hands its bytes over a moment later.
void wait_for_input(const Pty& terminal, int count) {
    for (int waiting = 0; ioctl(terminal.device(), FIONREAD, &waiting) == 0 && waiting < count;) {
        const timespec moment = {0, 20000};
        nanosleep(&moment, nullptr);
    }
}

void answer(const Bytes& sent) {
    vocoder.line->send(sent);
    wait_for_input(*vocoder.line, static_cast<int>(sent.size()));
}

void press_key() {
    vocoder.keyboard->send(std::string(1, vocoder.key));
    const bool line_mode = (vocoder.keyboard->state().c_lflag & ICANON) != 0;
    if (!line_mode) wait_for_input(*vocoder.keyboard, 1);
}

void hear_frame(int number) {
    if (vocoder.report->frames_heard++ == 0) press_key();
    const Bytes audio = decoded(number);
    Bytes sent;
    for (std::size_t i = 0; i < audio.size(); i += block_bytes) {
        sent = sent + packet(pcm_block_type, slice(audio, i, block_bytes));
    }
    answer(sent + request);
}

// What the program wrote, all of it.
void hear(std::size_t count) {
    const Bytes heard = vocoder.line->receive(count);
    if (heard.size() < 2) return;
    if (heard[0] == 'R' && heard[1] == 1) answer(request);
    if (heard[0] == 'F') hear_frame(heard[1]);
}

int send_to_vocoder(const Bytes& sent) {
    const int written = tio_write(sent.data(), static_cast<int>(sent.size()));
    if (written > 0) hear(static_cast<std::size_t>(written));
    return written;
}

int report_silence(int* type) {
    if (vocoder.silences++ == 0) return 0;
    *type = time_out_packet_type;
    return time_out_packet_bytes;
}

}  // namespace

Bytes decoded(int number) {
    static const Bytes all = test_blocks(recorded_frames * blocks_of_a_frame);
    const std::size_t frame_audio_bytes = blocks_of_a_frame * block_bytes;
    return slice(all, static_cast<std::size_t>(number - 1) * frame_audio_bytes, frame_audio_bytes);
}

void plug_in_vocoder(Pty& line, Pty& keyboard, char key, Report* report) {
    vocoder = {&line, &keyboard, key, report, 0};
}

void dongle_debug(int) {}

// A line whose speed cannot be set is given back.
int dongle_init(const char* port, long speed) {
    vocoder.report->vocoder_starts++;
    vocoder.report->held_before_files = allocations_held();
    if (tio_open(port) < 0) return failed;
    if (tio_speed(std::to_string(speed).c_str()) == 0) return 0;
    tio_close();
    return failed;
}

void dongle_hello() {
    send_to_vocoder(bytes_of("HI"));
}

// Bytes of the file before that were not read are thrown away.
void dongle_run(int running) {
    if (running) tcflush(vocoder.line->device(), TCIFLUSH);
    vocoder.silences = 0;
    send_to_vocoder(bytes({'R', running}));
}

int dongle_send(int, const unsigned char* content, int length) {
    return send_to_vocoder(bytes({'F'}) + Bytes(content, content + length));
}

int dongle_recv(int* type, unsigned char* buffer, int) {
    unsigned char header[header_bytes];
    const int got = tio_read(header, header_bytes);
    if (got == 0) return report_silence(type);
    if (got < 0) return link_failed;
    const int length = header[1] | header[2] << 8;
    if (tio_read(buffer, length) != length) return link_failed;
    *type = header[0];
    return length;
}

void dongle_close(int) {
    vocoder.report->held_at_close = allocations_held();
    tio_close();
}

void ambe_init(unsigned char* content, int) {
    std::memset(content, 0, ambe_packet_bytes);
}

void ambe_send(unsigned char* content, const unsigned char* frame) {
    std::memcpy(content, frame, ambe_frame_bytes);
}
