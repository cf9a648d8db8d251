// SPDX-License-Identifier: MIT
// A stand-in for the vocoder library that really uses the line, through the five functions that the program exports:
// it is linked against nothing of the program and meets them at run time. The test plays the vocoder at the other end.
//
// Packets on the line, both ways: type, length (two bytes, low first), then that many bytes. Every call of a line
// function is logged with its result, but for reads that found nothing.
#include <dlfcn.h>
#include <string.h>
#include <time.h>

#include <vector>

#include "call_log.h"
#include "link/dongle.h"

extern "C" {
int tio_open(const char* path);
int tio_speed(const char* name);
int tio_read(void* buffer, int length);
int tio_write(const void* buffer, int length);
int tio_close();
}

namespace {

constexpr int header_bytes = 3;
constexpr int silent_reads_before_probe = 20;  // a read that finds nothing takes a millisecond here
constexpr int patience_ms = 60000;
constexpr int link_failed = -1;

void log_home(const char* name, void* function) {
    Dl_info home = {};
    dladdr(function, &home);
    const char* slash = strrchr(home.dli_fname, '/');
    log_call("%s is in %s", name, slash ? slash + 1 : home.dli_fname);
}

bool send_bytes(const std::vector<unsigned char>& sent) {
    const int written = tio_write(sent.data(), static_cast<int>(sent.size()));
    log_call("tio_write(%zu) = %d", sent.size(), written);
    return written == static_cast<int>(sent.size());
}

bool send_packet(int type, const unsigned char* packet, int length) {
    std::vector<unsigned char> sent = {static_cast<unsigned char>(type), static_cast<unsigned char>(length & 255),
                                       static_cast<unsigned char>(length >> 8)};
    sent.insert(sent.end(), packet, packet + length);
    return send_bytes(sent);
}

// A line that was unplugged reads as silent; writing nothing tells.
bool is_unplugged() {
    const int written = tio_write("", 0);
    if (written < 0) log_call("tio_write(0) = %d", written);
    return written < 0;
}

// Collects `count` bytes as they come. False when the line fails.
bool receive_bytes(unsigned char* bytes, int count) {
    int silent_reads = 0;
    for (int filled = 0; filled < count;) {
        const int got = tio_read(bytes + filled, count - filled);
        if (got != 0) log_call("tio_read(%d) = %d", count - filled, got);
        if (got < 0) return false;
        filled += got;
        silent_reads = got == 0 ? silent_reads + 1 : 0;
        if (silent_reads > patience_ms) return false;
        if (silent_reads == 0) continue;
        if (silent_reads % silent_reads_before_probe == 0 && is_unplugged()) return false;
        const timespec millisecond = {0, 1000000};
        nanosleep(&millisecond, nullptr);
    }
    return true;
}

}  // namespace

void dongle_debug(int) {
    log_home("tio_open", reinterpret_cast<void*>(tio_open));
    log_home("tio_speed", reinterpret_cast<void*>(tio_speed));
    log_home("tio_read", reinterpret_cast<void*>(tio_read));
    log_home("tio_write", reinterpret_cast<void*>(tio_write));
    log_home("tio_close", reinterpret_cast<void*>(tio_close));
}

int dongle_init(const char* port, long speed) {
    const int descriptor = tio_open(port);
    log_call("tio_open %s", descriptor < 0 ? "failed" : "worked");
    if (descriptor < 0) return link_failed;
    const int result = tio_speed(std::to_string(speed).c_str());
    log_call("tio_speed(%ld) = %d", speed, result);
    return result;
}

void dongle_hello() {
    send_bytes({'H', 'I'});
}

void dongle_run(int running) {
    log_call("dongle_run(%d)", running);
    send_packet('R', nullptr, 0);
}

int dongle_send(int type, const unsigned char* packet, int length) {
    return send_packet(type, packet, length) ? 0 : link_failed;
}

int dongle_recv(int* type, unsigned char* buffer, int capacity) {
    unsigned char header[header_bytes];
    if (!receive_bytes(header, header_bytes)) return link_failed;
    const int length = header[1] | header[2] << 8;
    if (length > capacity || !receive_bytes(buffer, length)) return link_failed;
    *type = header[0];
    return length;
}

void dongle_close(int) {
    log_call("tio_close = %d", tio_close());
}

void ambe_init(unsigned char* packet, int) {
    memset(packet, 0, ambe_packet_bytes);
}

void ambe_send(unsigned char* packet, const unsigned char* frame) {
    memcpy(packet, frame, ambe_frame_bytes);
}
