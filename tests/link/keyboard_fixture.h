// SPDX-License-Identifier: MIT
// Standard input on a pseudo-terminal, or on a pipe.
#pragma once

#include <fcntl.h>

#include <array>
#include <string>

#include "line_fixture.h"
#include "link/keyboard.h"

class Keyboard : public LineFixture {
  protected:
    ~Keyboard() override {
        reset_libc_calls();
        output_of([] { kb_raw_off(); });
    }

    StandardInput input{pty.device()};
};

class Pipe {
  public:
    Pipe() { EXPECT_EQ(pipe2(ends_.data(), O_CLOEXEC), 0); }
    ~Pipe() {
        close(ends_[0]);
        close_writer();
    }
    Pipe(const Pipe&) = delete;
    Pipe& operator=(const Pipe&) = delete;

    int reader() const { return ends_[0]; }
    void write_text(const std::string& text) const {
        EXPECT_EQ(write(ends_[1], text.data(), text.size()), static_cast<ssize_t>(text.size()));
    }
    void close_writer() {
        if (ends_[1] >= 0) close(ends_[1]);
        ends_[1] = -1;
    }

  private:
    std::array<int, 2> ends_ = {-1, -1};
};
