// SPDX-License-Identifier: MIT
#include "player/console.h"

#include <signal.h>

#include <cstddef>
#include <iterator>

#include "link/keyboard.h"

namespace {

// The last two: `ulimit` bounds the processor time or the size of a file.
constexpr int guarded_signals[] = {SIGHUP, SIGINT, SIGQUIT, SIGPIPE, SIGTERM, SIGXCPU, SIGXFSZ};

struct sigaction dispositions_before[std::size(guarded_signals)];

// Only async-signal-safe calls: the terminal is put back, then the signal takes its former effect. It is blocked while
// this runs, so the one raised here comes on return.
void put_back_and_die(int signal) {
    kb_raw_off_in_signal();
    for (std::size_t i = 0; i < std::size(guarded_signals); i++) {
        if (guarded_signals[i] == signal) sigaction(signal, &dispositions_before[i], nullptr);
    }
    raise(signal);
}

void guard_on() {
    struct sigaction guard = {};
    guard.sa_handler = put_back_and_die;
    sigemptyset(&guard.sa_mask);
    sigaddset(&guard.sa_mask, SIGTTOU);  // a background process may put its terminal back too
    for (const int signal : guarded_signals) sigaddset(&guard.sa_mask, signal);

    for (std::size_t i = 0; i < std::size(guarded_signals); i++) {
        sigaction(guarded_signals[i], nullptr, &dispositions_before[i]);
        if (dispositions_before[i].sa_handler == SIG_IGN) continue;
        sigaction(guarded_signals[i], &guard, nullptr);
    }
}

void guard_off() {
    for (std::size_t i = 0; i < std::size(guarded_signals); i++) {
        sigaction(guarded_signals[i], &dispositions_before[i], nullptr);
    }
}

}  // namespace

// The rescue stands before there is anything to rescue, and until it is done.
void console_enter() {
    guard_on();
    kb_raw_on();
}

void console_leave() {
    kb_raw_off();
    guard_off();
}
