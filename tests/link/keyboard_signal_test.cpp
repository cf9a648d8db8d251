// SPDX-License-Identifier: MIT
// The terminal put back from a signal handler.
#include <stdlib.h>
#include <sys/ioctl.h>
#include <sys/wait.h>

#include <functional>

#include "keyboard_fixture.h"

namespace {

using testing::IsEmpty;

class KeyboardInSignal : public Keyboard {};

// Runs `action` in a program of its own and returns the status that it exits with, 255 when it does not exit.
int status_of(const std::function<int()>& action) {
    const pid_t child = fork();
    if (child == 0) _exit(action());
    int status = 0;
    while (waitpid(child, &status, WUNTRACED) == -1 && errno == EINTR) continue;
    if (WIFEXITED(status)) return WEXITSTATUS(status);
    kill(child, SIGKILL);
    if (WIFSTOPPED(status)) waitpid(child, &status, 0);
    return 255;
}

void restore_in_handler(int) {
    kb_raw_off_in_signal();
}

TEST_F(KeyboardInSignal, PutsTheTerminalBackFromAHandler) {
    const termios found = pty.state();
    kb_raw_on();
    signal(SIGUSR1, restore_in_handler);
    raise(SIGUSR1);
    EXPECT_TRUE(same_state(pty.state(), found));
    signal(SIGUSR1, SIG_DFL);
}

TEST_F(KeyboardInSignal, LeavesErrnoAndTheErrorTextAsTheyWereAndPrintsNothing) {
    kb_raw_on();
    const std::string text_before = last_error();
    const Output output = output_of([] {
        libc_calls().failures["tcsetattr"] = EIO;
        errno = ERANGE;
        kb_raw_off_in_signal();
        EXPECT_EQ(errno, ERANGE);
    });
    EXPECT_EQ(output.out + output.err, "");
    EXPECT_EQ(last_error(), text_before);
}

TEST_F(KeyboardInSignal, DoesNothingOutsideRawMode) {
    kb_raw_on();
    kb_raw_off();
    reset_libc_calls();
    kb_raw_off_in_signal();
    EXPECT_THAT(libc_calls().applied, IsEmpty());
}

TEST_F(KeyboardInSignal, TriesAgainAfterARawOffThatFailed) {
    const termios found = pty.state();
    kb_raw_on();
    libc_calls().failures["tcsetattr"] = EIO;
    output_of([] { kb_raw_off(); });
    reset_libc_calls();
    kb_raw_off_in_signal();
    EXPECT_TRUE(same_state(pty.state(), found));
}

TEST_F(KeyboardInSignal, DoesNothingWhenStandardInputIsNoTerminal) {
    const Pipe pipe;
    const StandardInput other_input(pipe.reader());
    kb_raw_on();
    reset_libc_calls();
    kb_raw_off_in_signal();
    EXPECT_THAT(libc_calls().applied, IsEmpty());
}

// In a session of its own whose terminal is `pty`, with the caller in raw mode and another group in the foreground.
int restored_from_background(Pty& pty) {
    if (setsid() == -1 || ioctl(pty.device(), TIOCSCTTY, 0) == -1) return 2;
    const termios found = pty.state();
    if (kb_raw_on() != 0) return 3;
    const pid_t other = fork();
    if (other == 0) {
        pause();
        _exit(0);
    }
    sigset_t stop_on_output;
    sigemptyset(&stop_on_output);
    sigaddset(&stop_on_output, SIGTTOU);
    sigprocmask(SIG_BLOCK, &stop_on_output, nullptr);
    setpgid(other, other);
    const bool in_background = tcsetpgrp(pty.device(), other) == 0 && tcgetpgrp(pty.device()) != getpgrp();
    kb_raw_off_in_signal();
    const bool restored = same_state(pty.state(), found);
    kill(other, SIGKILL);
    waitpid(other, nullptr, 0);
    return in_background && restored ? 0 : 4;
}

TEST_F(KeyboardInSignal, PutsTheTerminalBackFromTheBackgroundWhenTheStopSignalIsBlocked) {
    EXPECT_EQ(status_of([this] { return restored_from_background(pty); }), 0);
}

}  // namespace
