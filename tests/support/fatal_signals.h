// SPDX-License-Identifier: MIT
// The signals that can be caught and that end a program which does not.
#pragma once

#include <signal.h>
#include <unistd.h>

#include <algorithm>
#include <iterator>
#include <string>
#include <utility>
#include <vector>

inline std::vector<int> fatal_signals() {
    constexpr int others[] = {SIGKILL, SIGSTOP, SIGCHLD, SIGCONT, SIGTSTP, SIGTTIN, SIGTTOU, SIGURG, SIGWINCH};
    std::vector<int> signals;
    for (int signal = 1; signal <= SIGRTMAX; signal++) {
        if (std::ranges::find(others, signal) != std::end(others)) continue;
        // Two belong to the C library, and an emulator may have fewer than it says: ignored, each can be sent or not.
        struct sigaction before = {};
        struct sigaction ignored = {};
        ignored.sa_handler = SIG_IGN;
        if (sigaction(signal, &ignored, &before) < 0) continue;
        if (kill(getpid(), signal) == 0) signals.push_back(signal);
        sigaction(signal, &before, nullptr);
    }
    return signals;
}

// In a build with sanitizers: a fault is then the program's own affair.
inline const std::vector<std::pair<std::string, std::string>> without_the_sanitizers_handlers = {
    {"ASAN_OPTIONS",  "handle_segv=0:handle_sigbus=0:handle_sigfpe=0:handle_sigill=0:handle_abort=0"},
    {"UBSAN_OPTIONS", "handle_segv=0:handle_sigbus=0:handle_sigfpe=0:handle_sigill=0:handle_abort=0"}
};
