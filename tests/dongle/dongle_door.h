// SPDX-License-Identifier: MIT
// The built library as a process finds it: loaded by path, its nine functions looked up by name.
#pragma once

#include <span>
#include <string>

#include "golden_audio.h"
#include "link/dongle.h"

// Loaded while the record lives; the pointers die with it. Not loaded: the test fails and `loaded` is false.
class DongleDoor {
  public:
    DongleDoor();
    ~DongleDoor();
    DongleDoor(const DongleDoor&) = delete;
    DongleDoor& operator=(const DongleDoor&) = delete;

    bool loaded = true;
    decltype(&dongle_debug) debug = nullptr;
    decltype(&dongle_init) init = nullptr;
    decltype(&dongle_hello) hello = nullptr;
    decltype(&dongle_run) run = nullptr;
    decltype(&dongle_send) send = nullptr;
    decltype(&dongle_recv) recv = nullptr;
    decltype(&dongle_close) close = nullptr;
    decltype(&ambe_init) prepare = nullptr;
    decltype(&ambe_send) fill = nullptr;

  private:
    template <typename Function>
    void look_up(Function& function, const char* name);
    void* handle_ = nullptr;
};

// What one dongle_recv gave, with its 400-byte buffer.
struct Received {
    int length = 0;
    int type = 0;
    std::array<std::uint8_t, 400> buffer{};
};
Received receive(const DongleDoor& dongle);

// debug 0, init, hello: as the program does it at start-up.
void start_up(const DongleDoor& dongle);

// One file from ambe_init to dongle_run(0), one frame a request; every packet that is not in order fails the test.
Pcm decode_file(const DongleDoor& dongle, std::span<const AmbeFrameBytes> frames);

// The same in a library loaded, started and closed for it.
Pcm decoded(std::span<const AmbeFrameBytes> frames);

// The block that answers one frame, the request before it having been received.
Pcm decode_frame(const DongleDoor& dongle, std::uint8_t* packet, const AmbeFrameBytes& frame);
Pcm samples_of(const Received& block);
