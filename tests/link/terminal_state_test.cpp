// SPDX-License-Identifier: MIT
// Terminal states: read, applied, and rewritten into raw mode.
#include "line_fixture.h"

namespace {

using testing::Each;
using testing::IsEmpty;

class TerminalState : public LineFixture {};

termios state_of_ones() {
    termios state;
    memset(&state, 0xFF, sizeof state);
    cfsetispeed(&state, B9600);
    cfsetospeed(&state, B9600);
    return state;
}

TEST_F(TerminalState, GetFillsTheRecord) {
    pty.set_speed(B600);
    termios state = {};
    EXPECT_EQ(TIO_Gstate(pty.device(), &state), 0);
    EXPECT_TRUE(same_state(state, pty.state()));
}

TEST_F(TerminalState, SetAppliesTheRecordAtOnce) {
    termios state = pty.state();
    reset_libc_calls();
    state.c_lflag &= ~tcflag_t{ECHO};
    EXPECT_EQ(TIO_Sstate(pty.device(), &state), 0);
    EXPECT_TRUE(same_state(pty.state(), state));
    EXPECT_EQ(libc_calls().applied.at(0).when, TCSANOW);
}

TEST_F(TerminalState, NegativeDescriptorIsPassedOver) {
    termios state = state_of_ones();
    EXPECT_EQ(TIO_Gstate(-1, &state), 0);
    EXPECT_TRUE(same_state(state, state_of_ones()));
    EXPECT_EQ(TIO_Sstate(-1, &state), 0);
    EXPECT_THAT(libc_calls().applied, IsEmpty());
}

TEST_F(TerminalState, DescriptorThatIsNoTerminalIsAcceptedSilently) {
    const std::string text_before = last_error();
    for (const int error : {ENOTTY, EINVAL}) {
        libc_calls().failures["tcgetattr"] = libc_calls().failures["tcsetattr"] = error;
        termios state = state_of_ones();
        EXPECT_EQ(TIO_Gstate(pty.device(), &state), 0);
        EXPECT_EQ(errno, error);
        EXPECT_TRUE(same_state(state, state_of_ones()));
        EXPECT_EQ(TIO_Sstate(pty.device(), &state), 0);
    }
    EXPECT_EQ(last_error(), text_before);
}

TEST_F(TerminalState, AnyOtherFailureReturnsMinusOneWithErrnoInTheText) {
    termios state = {};
    for (const int error : {EIO, EBADF, EINTR}) {
        libc_calls().failures["tcgetattr"] = libc_calls().failures["tcsetattr"] = error;
        EXPECT_EQ(TIO_Gstate(pty.device(), &state), -1);
        EXPECT_EQ(last_error(), "TIO_Gstate: " + std::to_string(error));
        EXPECT_EQ(TIO_Sstate(pty.device(), &state), -1);
        EXPECT_EQ(last_error(), "TIO_Sstate: " + std::to_string(error));
    }
}

TEST_F(TerminalState, RawModeOfTheLineAndOfTheConsole) {
    const struct {
        int console;
        tcflag_t iflag, oflag;
    } rows[] = {
        {0, 5U, 0U}, // IGNBRK | IGNPAR
        {1, 4U, 5U}, // IGNPAR; OPOST | ONLCR
    };
    for (const auto& row : rows) {
        termios state = state_of_ones();
        EXPECT_EQ(tio_raw_mode(&state, row.console), 0);
        EXPECT_EQ(state.c_iflag, row.iflag);
        EXPECT_EQ(state.c_oflag, row.oflag);
        EXPECT_EQ(state.c_lflag, 0xFFFFFFFFU & ~0xE7AU);
        EXPECT_EQ(state.c_cflag, 0x800004B0U | B9600);
    }
}

TEST_F(TerminalState, RawModeOfTheConsoleSetsSignalsAndThatOfTheLineLeavesThemAsFound) {
    for (const tcflag_t found : {tcflag_t{0}, tcflag_t{NOFLSH}, tcflag_t{ISIG | NOFLSH}}) {
        termios line = state_of_ones();
        line.c_lflag = found | ICANON | ECHO;
        termios console = line;
        tio_raw_mode(&line, 0);
        tio_raw_mode(&console, 1);
        EXPECT_EQ(line.c_lflag, found);
        EXPECT_EQ(console.c_lflag, found | ISIG);
    }
}

TEST_F(TerminalState, RawModeDisablesEveryControlCharacterAndReadsByteByByte) {
    for (const int console : {0, 1}) {
        termios state = state_of_ones();
        tio_raw_mode(&state, console);
        ASSERT_EQ(sizeof state.c_cc, 32U);
        EXPECT_EQ(state.c_cc[VMIN], 1);
        state.c_cc[VMIN] = 0;
        EXPECT_THAT(state.c_cc, Each(0));
    }
}

TEST_F(TerminalState, RawModeKeepsTheLineDiscipline) {
    for (const int console : {0, 1}) {
        termios state = {};
        state.c_line = 7;
        tio_raw_mode(&state, console);
        EXPECT_EQ(state.c_line, 7);
    }
}

TEST_F(TerminalState, RawModeKeepsBothSpeeds) {
    for (const int code : {B0, B50, B38400, B230400}) {
        for (const int console : {0, 1}) {
            const auto speed = static_cast<speed_t>(code);
            termios state = state_of_ones();
            cfsetispeed(&state, speed);
            cfsetospeed(&state, speed);
            tio_raw_mode(&state, console);
            EXPECT_EQ(cfgetispeed(&state), speed);
            EXPECT_EQ(cfgetospeed(&state), speed);
            EXPECT_EQ(state.c_cflag & ~tcflag_t{CBAUD | CIBAUD}, 0x800004B0U);
        }
    }
}

}  // namespace
