// SPDX-License-Identifier: MIT
#include "support/pty.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <stdlib.h>
#include <unistd.h>

#include <array>
#include <cstring>

namespace {

constexpr int pty_path_bytes = 64;

bool readable(int descriptor, int wait_ms) {
    pollfd entry = {descriptor, POLLIN, 0};
    return poll(&entry, 1, wait_ms) == 1 && (entry.revents & POLLIN) != 0;
}

}  // namespace

Pty::Pty() : other_end_(posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC)) {
    std::array<char, pty_path_bytes> path = {};
    EXPECT_GE(other_end_, 0);
    EXPECT_EQ(grantpt(other_end_), 0);
    EXPECT_EQ(unlockpt(other_end_), 0);
    EXPECT_EQ(ptsname_r(other_end_, path.data(), path.size()), 0);
    path_ = path.data();
    device_ = open(path_.c_str(), O_RDWR | O_NOCTTY | O_CLOEXEC);
    EXPECT_GE(device_, 0) << path_;
}

Pty::~Pty() {
    hang_up();
    close(device_);
}

termios Pty::state() const {
    termios state = {};
    EXPECT_EQ(tcgetattr(device_, &state), 0);
    return state;
}

void Pty::set_state(const termios& state) {
    EXPECT_EQ(tcsetattr(device_, TCSANOW, &state), 0);
}

void Pty::set_speed(speed_t speed) {
    termios changed = state();
    EXPECT_EQ(cfsetispeed(&changed, speed), 0);
    EXPECT_EQ(cfsetospeed(&changed, speed), 0);
    set_state(changed);
}

void Pty::send(const Bytes& sent) {
    EXPECT_EQ(write(other_end_, sent.data(), sent.size()), static_cast<ssize_t>(sent.size()));
}

Bytes Pty::receive(std::size_t count, int wait_ms) {
    Bytes received(count);
    std::size_t filled = 0;
    while (filled < count && readable(other_end_, wait_ms)) {
        const ssize_t got = read(other_end_, received.data() + filled, count - filled);
        if (got <= 0) break;
        filled += static_cast<std::size_t>(got);
    }
    received.resize(filled);
    return received;
}

bool Pty::has_input(int wait_ms) const {
    return readable(device_, wait_ms);
}

void Pty::hang_up() {
    if (other_end_ >= 0) close(other_end_);
    other_end_ = -1;
}

bool same_state(const termios& a, const termios& b) {
    return a.c_iflag == b.c_iflag && a.c_oflag == b.c_oflag && a.c_cflag == b.c_cflag && a.c_lflag == b.c_lflag &&
           a.c_line == b.c_line && std::memcmp(a.c_cc, b.c_cc, sizeof a.c_cc) == 0;
}

StandardInput::StandardInput(int descriptor) : saved_(fcntl(STDIN_FILENO, F_DUPFD_CLOEXEC, 3)) {
    EXPECT_EQ(dup2(descriptor, STDIN_FILENO), STDIN_FILENO);
}

StandardInput::~StandardInput() {
    if (saved_ < 0) {  // there was none
        close(STDIN_FILENO);
        return;
    }
    dup2(saved_, STDIN_FILENO);
    close(saved_);
}
