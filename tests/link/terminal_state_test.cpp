// SPDX-License-Identifier: MIT
// Terminal states: read, applied, and rewritten into raw mode.
#include <utility>

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
        libc_calls().failures = {
            {"tcgetattr", error},
            {"tcsetattr", error}
        };
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
    for (const auto& [error, number] : {
             std::pair{EIO,   "5"},
             std::pair{EBADF, "9"},
             std::pair{EINTR, "4"}
    }) {
        libc_calls().failures = {
            {"tcgetattr", error},
            {"tcsetattr", error}
        };
        EXPECT_EQ(TIO_Gstate(pty.device(), &state), -1);
        EXPECT_EQ(last_error(), std::string("TIO_Gstate: ") + number);
        EXPECT_EQ(TIO_Sstate(pty.device(), &state), -1);
        EXPECT_EQ(last_error(), std::string("TIO_Sstate: ") + number);
    }
}

TEST_F(TerminalState, RawModeOfTheLine) {
    termios state = state_of_ones();
    EXPECT_EQ(tio_raw_mode(&state, 0), 0);
    EXPECT_EQ(state.c_iflag, 5U);  // IGNBRK | IGNPAR
    EXPECT_EQ(state.c_oflag, 0U);
    EXPECT_EQ(state.c_lflag, 0xFFFFFFFFU & ~0xE7AU);
    EXPECT_EQ(state.c_cflag, 0x800004B0U | B9600);
}

TEST_F(TerminalState, RawModeOfTheConsole) {
    termios state = state_of_ones();
    state.c_lflag = ~tcflag_t{ISIG};
    EXPECT_EQ(tio_raw_mode(&state, 1), 0);
    EXPECT_EQ(state.c_iflag, 4U);                     // IGNPAR
    EXPECT_EQ(state.c_oflag, 5U);                     // OPOST | ONLCR
    EXPECT_EQ(state.c_lflag, 0xFFFFFFFFU & ~0xE7AU);  // ISIG, bit 0, is set
    EXPECT_EQ(state.c_cflag, 0x800004B0U | B9600);
}

TEST_F(TerminalState, RawModeOfTheLineLeavesSignalsAsFound) {
    for (const tcflag_t found : {tcflag_t{0}, tcflag_t{ISIG | NOFLSH}}) {
        termios state = state_of_ones();
        state.c_lflag = found | ICANON | ECHO;
        tio_raw_mode(&state, 0);
        EXPECT_EQ(state.c_lflag, found);
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
