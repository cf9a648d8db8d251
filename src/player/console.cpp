// SPDX-License-Identifier: MIT
#include "player/console.h"

#include <signal.h>
#include <stdlib.h>
#include <unistd.h>

#include <algorithm>
#include <iterator>

#include "link/keyboard.h"
#include "riff/riff_rescue.h"

namespace {

// By default these do not end the program, or they cannot be caught.
constexpr int unguarded_signals[] = {SIGKILL, SIGSTOP, SIGCHLD, SIGCONT, SIGTSTP, SIGTTIN, SIGTTOU, SIGURG, SIGWINCH};

constexpr std::size_t signal_stack_bytes = 1 << 16;  // for a handler after a stack overflow

pid_t guarded_process;  // 0 before the first guard

bool in_forked_child() {
    return getpid() != guarded_process;
}

// A background process that changes its terminal would be stopped. Only calls that are safe in a signal handler.
void put_terminal_back() {
    sigset_t stop_on_output;
    sigemptyset(&stop_on_output);
    sigaddset(&stop_on_output, SIGTTOU);
    sigprocmask(SIG_BLOCK, &stop_on_output, nullptr);
    kb_raw_off_in_signal();
}

// The signal is blocked until the handler returns; the one that is raised here takes effect then.
void rescue_and_die(int signal) {
    if (!in_forked_child()) {
        put_terminal_back();
        riff_rescue_in_signal();
    }
    struct sigaction default_action = {};
    default_action.sa_handler = SIG_DFL;
    sigaction(signal, &default_action, nullptr);
    raise(signal);
}

void rescue_at_exit() {
    if (in_forked_child()) return;
    put_terminal_back();
    riff_rescue_at_exit();
}

bool would_end_the_program(int signal) {
    if (std::ranges::find(unguarded_signals, signal) != std::end(unguarded_signals)) return false;
    struct sigaction present = {};
    return sigaction(signal, nullptr, &present) == 0 && present.sa_handler == SIG_DFL;
}

// Somebody else's stack for handlers stays.
void provide_signal_stack() {
    static char memory[signal_stack_bytes];
    stack_t present = {};
    if (sigaltstack(nullptr, &present) < 0 || (present.ss_flags & SS_DISABLE) == 0) return;
    const stack_t ours = {.ss_sp = memory, .ss_flags = 0, .ss_size = sizeof memory};
    sigaltstack(&ours, nullptr);
}

void guard_exit() {
    static bool registered = false;
    if (!registered) registered = atexit(rescue_at_exit) == 0;
}

}  // namespace

void console_guard() {
    guarded_process = getpid();
    guard_exit();
    provide_signal_stack();

    struct sigaction guard = {};
    guard.sa_handler = rescue_and_die;
    guard.sa_flags = SA_ONSTACK;
    sigfillset(&guard.sa_mask);
    for (int signal = 1; signal <= SIGRTMAX; signal++) {
        if (would_end_the_program(signal)) sigaction(signal, &guard, nullptr);
    }
}

void console_enter() {
    kb_raw_on();
}

void console_leave() {
    kb_raw_off();
}
