// SPDX-License-Identifier: MIT
#include "libc_calls.h"

#include <errno.h>
#include <fcntl.h>
#include <signal.h>
#include <stdarg.h>
#include <sys/select.h>
#include <unistd.h>

#include <algorithm>

LibcCalls& libc_calls() {
    static LibcCalls calls;
    return calls;
}

void reset_libc_calls() {
    libc_calls() = {};
}

namespace {

bool fails(const char* name) {
    const auto failure = libc_calls().failures.find(name);
    if (failure == libc_calls().failures.end()) return false;
    errno = failure->second;
    return true;
}

bool is_console_output(int descriptor) {
    return descriptor == STDOUT_FILENO || descriptor == STDERR_FILENO;
}

}  // namespace

extern "C" {

int __real_open(const char* path, int flags, ...);
int __real_close(int descriptor);
ssize_t __real_read(int descriptor, void* buffer, size_t length);
ssize_t __real_write(int descriptor, const void* buffer, size_t length);
int __real_select(int count, fd_set* readable, fd_set* writable, fd_set* exceptional, timeval* wait);
int __real_tcgetattr(int descriptor, termios* state);
int __real_tcsetattr(int descriptor, int when, const termios* state);
int __real_tcsendbreak(int descriptor, int duration);
unsigned __real_alarm(unsigned seconds);
int __real_cfsetispeed(termios* state, speed_t speed);
int __real_cfsetospeed(termios* state, speed_t speed);

int __wrap_open(const char* path, int flags, ...) {
    libc_calls().open_flags.push_back(flags);
    va_list rest;
    va_start(rest, flags);
    const unsigned mode = (flags & O_CREAT) != 0 ? va_arg(rest, unsigned) : 0;
    va_end(rest);
    return fails("open") ? -1 : __real_open(path, flags, mode);
}

int __wrap_close(int descriptor) {
    libc_calls().closed.push_back(descriptor);
    return fails("close") ? -1 : __real_close(descriptor);
}

ssize_t __wrap_read(int descriptor, void* buffer, size_t length) {
    ++libc_calls().reads;
    return fails("read") ? -1 : __real_read(descriptor, buffer, length);
}

ssize_t __wrap_write(int descriptor, const void* buffer, size_t length) {
    if (is_console_output(descriptor)) return __real_write(descriptor, buffer, length);
    libc_calls().write_lengths.push_back(static_cast<int>(length));
    const size_t passed_on = std::min(length, libc_calls().most_bytes_written);
    return fails("write") ? -1 : __real_write(descriptor, buffer, passed_on);
}

int __wrap_select(int count, fd_set* readable, fd_set* writable, fd_set* exceptional, timeval* wait) {
    ++libc_calls().selects;
    return fails("select") ? -1 : __real_select(count, readable, writable, exceptional, wait);
}

int __wrap_tcgetattr(int descriptor, termios* state) {
    return fails("tcgetattr") ? -1 : __real_tcgetattr(descriptor, state);
}

int __wrap_tcsetattr(int descriptor, int when, const termios* state) {
    LibcCalls& calls = libc_calls();
    calls.applied.push_back({descriptor, when, *state});
    const int number = static_cast<int>(calls.applied.size());
    const bool chosen = number >= calls.first_tcsetattr_to_fail && number <= calls.last_tcsetattr_to_fail;
    return chosen && fails("tcsetattr") ? -1 : __real_tcsetattr(descriptor, when, state);
}

int __wrap_tcsendbreak(int descriptor, int duration) {
    libc_calls().breaks.emplace_back(descriptor, duration);
    return fails("tcsendbreak") ? -1 : __real_tcsendbreak(descriptor, duration);
}

unsigned __wrap_alarm(unsigned seconds) {
    libc_calls().alarms.push_back(seconds);
    if (libc_calls().old_alarm_goes_off_late && __real_alarm(0) > 0) raise(SIGALRM);
    return __real_alarm(seconds);
}

int __wrap_cfsetispeed(termios* state, speed_t speed) {
    return fails("cfsetispeed") ? -1 : __real_cfsetispeed(state, speed);
}

int __wrap_cfsetospeed(termios* state, speed_t speed) {
    return fails("cfsetospeed") ? -1 : __real_cfsetospeed(state, speed);
}

}  // extern "C"
