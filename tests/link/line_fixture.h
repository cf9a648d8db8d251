// SPDX-License-Identifier: MIT
// A line on a pseudo-terminal, with the room's process-wide state put back to its beginning around each test.
#pragma once

#include <errno.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <string.h>
#include <unistd.h>

#include <string>

#include "libc_calls.h"
#include "link/tio.h"
#include "support/capture.h"
#include "support/pty.h"

class LineFixture : public testing::Test {
  protected:
    LineFixture() { put_back(); }
    ~LineFixture() override { put_back(); }

    // Opens the line; what that took of the C library is then forgotten.
    int open_line() {
        const int descriptor = tio_open(pty.path().c_str());
        EXPECT_GT(descriptor, 0);
        reset_libc_calls();
        return descriptor;
    }

    // Sends from the other end, and waits until it is there for the code under test.
    void deliver(const Bytes& sent) {
        pty.send(sent);
        ASSERT_TRUE(pty.has_input());
    }
    void deliver(const std::string& text) { deliver(bytes_of(text)); }

    static void expect_line_closed() {
        EXPECT_EQ(tio_write("x", 1), -1);
        EXPECT_EQ(last_error(), "write error (9) on -1");
    }

    static std::string last_error() { return tio_last_error(); }
    static tcflag_t control_flags() { return tio_working_state()->c_cflag; }

    Pty pty;

  private:
    static void put_back() {
        reset_libc_calls();
        tio_close();
        tio_timeout(0);
        alarm(0);
        signal(SIGALRM, SIG_DFL);
        reset_libc_calls();
    }
};
