// SPDX-License-Identifier: MIT
// A pseudo-terminal: the code under test opens the device, the test plays whatever is at the other end.
#pragma once

#include <termios.h>

#include <string>

#include "support/temp_dir.h"

// The device stays open within the test as well, so that its state outlives the code's own open and close. It is
// nobody's controlling terminal. Both ends are closed in programs started by the test.
class Pty {
  public:
    Pty();
    ~Pty();
    Pty(const Pty&) = delete;
    Pty& operator=(const Pty&) = delete;

    const std::string& path() const { return path_; }  // of the device, as "/dev/pts/3"
    int device() const { return device_; }             // the test's own descriptor of the device
    int other_end() const { return other_end_; }

    // The device's terminal state, as the system has it.
    termios state() const;
    void set_state(const termios& state);
    // A fresh line's settings with both directions at `speed`, a termios code such as B9600.
    void set_speed(speed_t speed);

    // Sends to the code under test, or presses keys. In line mode bytes wait for their Enter.
    void send(const Bytes& sent);
    void send(const std::string& text) { send(bytes_of(text)); }
    // The next `count` bytes that the code wrote (or the terminal echoed); fewer when no more come for `wait_ms`.
    Bytes receive(std::size_t count, int wait_ms = 2000);
    // True once the device has input for the code under test, within `wait_ms`.
    bool has_input(int wait_ms = 2000) const;

    // Unplugs the line: closes the other end. Reads of the device then meet its end, writes fail.
    void hang_up();

  private:
    std::string path_;
    int other_end_ = -1;
    int device_ = -1;
};

// Two states alike in all that the system keeps.
bool same_state(const termios& a, const termios& b);

// Makes `descriptor` standard input until the end of its scope; the descriptor itself stays the caller's.
class StandardInput {
  public:
    explicit StandardInput(int descriptor);
    ~StandardInput();
    StandardInput(const StandardInput&) = delete;
    StandardInput& operator=(const StandardInput&) = delete;

  private:
    int saved_;
};
