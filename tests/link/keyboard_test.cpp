// SPDX-License-Identifier: MIT
// The keyboard on a pseudo-terminal whose other end presses the keys.
#include "link/keyboard.h"

#include <fcntl.h>

#include "keyboard_fixture.h"

namespace {

using testing::IsEmpty;
using testing::SizeIs;

class KeyboardElsewhere : public LineFixture {};

TEST_F(Keyboard, RawOnAppliesTheConsoleModeToStandardInputAtOnce) {
    termios found = pty.state();
    found.c_lflag = ICANON | ECHO | ECHOE | ECHOK | ECHONL | ECHOCTL | ECHOKE | NOFLSH | TOSTOP;  // and no ISIG
    pty.set_state(found);
    pty.set_speed(B9600);
    reset_libc_calls();

    EXPECT_EQ(kb_raw_on(), 0);
    ASSERT_THAT(libc_calls().applied, SizeIs(1));
    const AppliedState& applied = libc_calls().applied[0];
    EXPECT_EQ(applied.descriptor, STDIN_FILENO);
    EXPECT_EQ(applied.when, TCSANOW);
    EXPECT_EQ(applied.state.c_iflag, tcflag_t{IGNPAR});
    EXPECT_EQ(applied.state.c_oflag, tcflag_t{OPOST | ONLCR});
    EXPECT_EQ(applied.state.c_lflag, tcflag_t{ISIG | NOFLSH | TOSTOP});
    EXPECT_EQ(applied.state.c_cflag, 0x800004B0U | B9600);
    for (int i = 0; i < NCCS; ++i) EXPECT_EQ(applied.state.c_cc[i], i == VMIN ? 1 : 0) << i;
    EXPECT_EQ(applied.state.c_line, found.c_line);
}

TEST_F(Keyboard, RawOnAndOffPrintNothingWhenTheySucceed) {
    const Output output = output_of([] {
        EXPECT_EQ(kb_raw_on(), 0);
        EXPECT_EQ(kb_raw_off(), 0);
    });
    EXPECT_EQ(output.out + output.err, "");
}

TEST_F(Keyboard, KeyComesWithoutEnterAndWithoutEcho) {
    kb_raw_on();
    deliver(" ");
    EXPECT_EQ(kb_hit(), 1);
    EXPECT_EQ(kb_getkey(), ' ');
    EXPECT_THAT(pty.receive(1, 50), IsEmpty());
}

TEST_F(Keyboard, EveryByteIsAKeyCtrlCAndTheOtherControlCharactersIncluded) {
    kb_raw_on();
    for (int key = 0; key < 256; ++key) {
        pty.send(bytes({key}));
        ASSERT_TRUE(pty.has_input()) << key;
        EXPECT_EQ(kb_getkey(), key);
    }
    EXPECT_EQ(kb_hit(), 0);
}

TEST_F(Keyboard, NewlineStillGoesOutAsCarriageReturnAndLineFeed) {
    kb_raw_on();
    ASSERT_EQ(write(pty.device(), "a\n", 2), 2);
    EXPECT_EQ(pty.receive(3), bytes_of("a\r\n"));
}

TEST_F(Keyboard, HitReturnsZeroAtOnceWhenNoKeyIsPressed) {
    kb_raw_on();
    EXPECT_EQ(kb_hit(), 0);
    EXPECT_EQ(libc_calls().reads, 0);
}

TEST_F(Keyboard, GetkeyTakesOneKeyATime) {
    kb_raw_on();
    deliver("ab");
    EXPECT_EQ(kb_getkey(), 'a');
    EXPECT_EQ(kb_hit(), 1);
    EXPECT_EQ(kb_getkey(), 'b');
    EXPECT_EQ(kb_hit(), 0);
}

TEST_F(Keyboard, GetkeyIsMinusOneWhenTheTerminalHangsUp) {
    kb_raw_on();
    pty.hang_up();
    EXPECT_EQ(kb_hit(), 1);
    EXPECT_EQ(kb_getkey(), -1);
}

TEST_F(Keyboard, HitAndGetkeyAreMinusOneOnError) {
    libc_calls().failures["select"] = libc_calls().failures["read"] = EBADF;
    EXPECT_EQ(kb_hit(), -1);
    EXPECT_EQ(kb_getkey(), -1);
}

TEST_F(Keyboard, RawOffPutsTheWholeStateBack) {
    pty.set_speed(B1200);
    const termios found = pty.state();
    kb_raw_on();
    ASSERT_FALSE(same_state(pty.state(), found));
    reset_libc_calls();
    EXPECT_EQ(kb_raw_off(), 0);
    EXPECT_TRUE(same_state(pty.state(), found));
    ASSERT_THAT(libc_calls().applied, SizeIs(1));
    EXPECT_EQ(libc_calls().applied[0].descriptor, STDIN_FILENO);
    EXPECT_EQ(libc_calls().applied[0].when, TCSANOW);
}

TEST_F(Keyboard, AfterRawOffTheTerminalEchoesAndWorksLineByLineAgain) {
    kb_raw_on();
    kb_raw_off();
    pty.send("a");
    EXPECT_EQ(pty.receive(1), bytes_of("a"));  // the echo
    EXPECT_EQ(kb_hit(), 0);
    deliver("\n");
    EXPECT_EQ(kb_getkey(), 'a');
}

TEST_F(Keyboard, RawModeGoesOnAndOffForFileAfterFile) {
    const termios found = pty.state();
    for (int file = 0; file < 3; ++file) {
        EXPECT_EQ(kb_raw_on(), 0);
        EXPECT_EQ(pty.state().c_lflag & ICANON, 0U);
        EXPECT_EQ(kb_raw_off(), 0);
        EXPECT_TRUE(same_state(pty.state(), found));
    }
}

TEST_F(Keyboard, StateThatCannotBeReadOrSetIsSaidOnceWithADoubledVerb) {
    const struct {
        int (*action)();
        const char *call, *message, *last_error;
    } rows[] = {
        {kb_raw_on,  "tcgetattr", "KB: unable to get current state !\n", "TIO_Gstate: 5"},
        {kb_raw_on,  "tcsetattr", "KB: unable to get set new state !\n", "TIO_Sstate: 5"}, // kept: a doubled verb
        {kb_raw_off, "tcsetattr", "KB: unable to restore state !\n",     "TIO_Sstate: 5"},
    };
    for (const auto& row : rows) {
        reset_libc_calls();
        if (row.action == kb_raw_off) kb_raw_on();
        const Output output = output_of([&row] {
            libc_calls().failures[row.call] = EIO;
            EXPECT_EQ(row.action(), -1);
        });
        EXPECT_EQ(output.err, row.message);
        EXPECT_EQ(output.out, "");
        EXPECT_EQ(last_error(), row.last_error);
    }
}

TEST_F(Keyboard, RawOffThatFailedIsMadeGoodByTheNext) {
    const termios found = pty.state();
    output_of([] {
        kb_raw_on();
        libc_calls().failures["tcsetattr"] = EIO;
        kb_raw_off();
        libc_calls().failures = {};
    });
    ASSERT_FALSE(same_state(pty.state(), found));  // still raw when the next file begins
    kb_raw_on();
    kb_raw_off();
    EXPECT_TRUE(same_state(pty.state(), found));
}

// Exits with 0 when raw mode off gives `expected`, and neither it nor its twin for signals touches the terminal.
[[noreturn]] void exit_after_raw_off(int expected) {
    const int result = kb_raw_off();
    kb_raw_off_in_signal();
    _exit(result == expected && libc_calls().applied.empty() ? 0 : 1);
}

// Likewise, after a raw mode on that could not get the state.
[[noreturn]] void exit_after_failed_raw_on(void (*before_raw_off)(), int expected) {
    libc_calls().failures["tcgetattr"] = EIO;
    kb_raw_on();
    before_raw_off();
    exit_after_raw_off(expected);
}

// A saved state stays for the rest of a program, so these are programs of their own.
TEST_F(Keyboard, RawOffBeforeAnyRawOnTouchesNothing) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(exit_after_raw_off(0), testing::ExitedWithCode(0), "^$");
}

TEST_F(Keyboard, RawOffAfterARawOnThatSavedNothingTouchesNothing) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(exit_after_failed_raw_on(reset_libc_calls, 0), testing::ExitedWithCode(0),
                "^KB: unable to get current state !\n$");
}

TEST_F(Keyboard, RawOffOfATerminalThatStillCannotBeAskedSaysSo) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(exit_after_failed_raw_on([] {}, -1), testing::ExitedWithCode(0),
                "^KB: unable to get current state !\nKB: unable to restore state !\n$");
}

TEST_F(Keyboard, RawOffWithoutStandardInputSaysSo) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(
        {
            close(STDIN_FILENO);
            exit_after_raw_off(-1);
        },
        testing::ExitedWithCode(0), "^KB: unable to restore state !\n$");
}

TEST_F(KeyboardElsewhere, StandardInputFromAFileOrDevNullIsAcceptedInSilenceAndReadToItsEnd) {
    const TempDir dir;
    write_file(dir / "keys", bytes_of("q"));
    for (const std::string& path : {dir / "keys", std::string("/dev/null")}) {
        const int file = open(path.c_str(), O_RDONLY | O_CLOEXEC);
        const StandardInput input(file);
        const Output output = output_of([&path] {
            EXPECT_EQ(kb_raw_on(), 0);
            EXPECT_EQ(kb_hit(), 1);
            if (path != "/dev/null") {
                EXPECT_EQ(kb_getkey(), 'q');
            }
            EXPECT_EQ(kb_hit(), 1);  // the end counts as input
            EXPECT_EQ(kb_getkey(), -1);
            EXPECT_EQ(kb_raw_off(), 0);
        });
        EXPECT_EQ(output.out + output.err, "");
        close(file);
    }
}

TEST_F(KeyboardElsewhere, StandardInputFromAPipeIsAcceptedInSilence) {
    Pipe pipe;
    const StandardInput input(pipe.reader());
    const Output output = output_of([&pipe] {
        EXPECT_EQ(kb_raw_on(), 0);
        EXPECT_EQ(kb_hit(), 0);
        pipe.write_text("\xFF");
        EXPECT_EQ(kb_hit(), 1);
        EXPECT_EQ(kb_getkey(), 255);
        pipe.close_writer();
        EXPECT_EQ(kb_hit(), 1);
        EXPECT_EQ(kb_getkey(), -1);
        EXPECT_EQ(kb_raw_off(), 0);
    });
    EXPECT_EQ(output.out + output.err, "");
}

TEST_F(KeyboardElsewhere, ClosedStandardInputIsTold) {
    const StandardInput input(pty.device());
    const Output output = output_of([] {
        close(STDIN_FILENO);
        EXPECT_EQ(kb_raw_on(), -1);
        EXPECT_EQ(kb_hit(), -1);
        EXPECT_EQ(kb_getkey(), -1);
    });
    EXPECT_EQ(output.err, "KB: unable to get current state !\n");
    EXPECT_EQ(last_error(), "TIO_Gstate: 9");
}

}  // namespace
