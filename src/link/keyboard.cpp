// SPDX-License-Identifier: MIT
// The console keyboard: raw mode on and off, one key at a time.
#include "link/keyboard.h"

#include <errno.h>
#include <signal.h>
#include <stdio.h>
#include <termios.h>
#include <unistd.h>

#include <atomic>

#include "link/tio.h"

namespace {

constexpr int console_mode = 1;

termios saved_state;  // a signal handler reads it: complete before terminal_is_raw is set
termios raw_state;
bool has_saved_state;
bool put_back_failed;  // the terminal is then still raw, and saved_state what it was before
volatile sig_atomic_t terminal_is_raw;

int complain(const char* message) {
    fputs(message, stderr);
    return -1;
}

// Standard input's state into `state`. `*terminal` tells whether there is one, which the result does not.
int get_console_state(termios* state, bool* terminal) {
    errno = 0;
    const int result = TIO_Gstate(STDIN_FILENO, state);
    *terminal = errno == 0;
    return result;
}

// Without a saved state the record is all zero, speed 0 included, which no terminal wants. This then only asks the
// terminal for its state and changes nothing; a terminal that cannot be asked counts as one that cannot be restored.
int put_saved_state_back() {
    if (has_saved_state) return TIO_Sstate(STDIN_FILENO, &saved_state);
    termios unused;
    return TIO_Gstate(STDIN_FILENO, &unused);
}

}  // namespace

int kb_raw_on() {
    termios found = {};
    bool terminal = false;
    if (get_console_state(&found, &terminal) < 0) return complain("KB: unable to get current state !\n");
    if (!has_saved_state || !put_back_failed) saved_state = found;
    has_saved_state = true;

    raw_state = found;
    tio_raw_mode(&raw_state, console_mode);
    std::atomic_signal_fence(std::memory_order_seq_cst);
    terminal_is_raw = terminal;  // set first, so that a signal in between puts the terminal back
    // Kept: the doubled verb.
    if (TIO_Sstate(STDIN_FILENO, &raw_state) < 0) return complain("KB: unable to get set new state !\n");
    return 0;
}

int kb_raw_off() {
    put_back_failed = put_saved_state_back() < 0;
    if (put_back_failed) return complain("KB: unable to restore state !\n");
    terminal_is_raw = 0;
    return 0;
}

int kb_hit() {
    return tio_peek(STDIN_FILENO);
}

int kb_getkey() {
    unsigned char key = 0;
    return read(STDIN_FILENO, &key, 1) == 1 ? key : -1;
}

void kb_raw_off_in_signal() {
    if (!terminal_is_raw) return;
    const int saved_errno = errno;
    tcsetattr(STDIN_FILENO, TCSANOW, &saved_state);
    errno = saved_errno;
}
