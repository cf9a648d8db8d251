// SPDX-License-Identifier: MIT
// What both stand-ins for the vocoder library share: a log of calls, one line each, written out at once so that a
// program that is killed leaves it whole.
#pragma once

#include <fcntl.h>
#include <stdarg.h>
#include <stdio.h>
#include <stdlib.h>
#include <unistd.h>

#include <string>

#include "support/bytes.h"

constexpr int logged_line_bytes = 512;
constexpr int lowest_log_descriptor = 100;

// Far from the descriptors that the program gets: one that it was started without stays free for it.
inline int open_log() {
    const int low = open(getenv("QUAVER_TEST_CALLS"), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0666);
    const int log = fcntl(low, F_DUPFD_CLOEXEC, lowest_log_descriptor);
    close(low);
    return log;
}

// Adds one line to the file that QUAVER_TEST_CALLS names.
[[gnu::format(printf, 1, 2)]] inline void log_call(const char* format, ...) {
    static const int log = open_log();
    char line[logged_line_bytes];
    va_list arguments;
    va_start(arguments, format);
    const int length = vsnprintf(line, sizeof line - 1, format, arguments);
    va_end(arguments);
    if (length < 0 || length >= logged_line_bytes - 1) abort();
    line[length] = '\n';
    if (write(log, line, static_cast<size_t>(length) + 1) != length + 1) abort();
}
