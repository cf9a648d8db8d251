// SPDX-License-Identifier: MIT
// The serial line: state, raw mode, speed, read, write, close.
#include "link/tio.h"

#include <errno.h>
#include <fcntl.h>
#include <setjmp.h>
#include <signal.h>
#include <stdio.h>
#include <string.h>
#include <sys/select.h>
#include <unistd.h>

#include <algorithm>

#include "link/speed_table.h"

namespace {

constexpr int closed_line = -1;
constexpr int last_error_bytes = 128;
constexpr int timed_out_result = 1;

// The bits of raw mode.
constexpr tcflag_t cooked_local_flags = ICANON | ECHO | ECHOE | ECHOK | ECHONL | ECHOCTL | ECHOPRT | ECHOKE;
constexpr tcflag_t line_input_flags = IGNBRK | IGNPAR;
constexpr tcflag_t console_input_flags = IGNPAR;
constexpr tcflag_t console_output_flags = OPOST | ONLCR;
constexpr tcflag_t raw_control_flags = CRTSCTS | HUPCL | CREAD | CS8;

static_assert(cooked_local_flags == 0xE7A && raw_control_flags == 0x800004B0);
static_assert(line_input_flags == 5 && console_input_flags == 4 && console_output_flags == 5);

int line = closed_line;
termios saved_state;
termios working_state;
std::int16_t timeout_seconds;
sighandler_t saved_alarm_handler;  // what SIGALRM did before tio_read took it
sigjmp_buf timed_out;              // valid while alarm_awaited is set
volatile sig_atomic_t alarm_awaited;
char last_error[last_error_bytes];

int rejected() {
    errno = EINVAL;
    return -1;
}

// A descriptor that is no terminal (a plain file, a pipe) has no state and is accepted.
bool is_no_terminal(int error) {
    return error == ENOTTY || error == EINVAL;
}

int speed_code(const char* name) {
    if (name == nullptr) return -1;
    for (const SpeedRow* row = speed_table; row->name != nullptr; row++) {
        if (strcmp(row->name, name) == 0) return row->code;
    }
    return -1;
}

// Returns 0, the result of a setter, even when the state could not be applied: then only the text tells.
int apply_working_state() {
    TIO_Sstate(line, &working_state);
    return 0;
}

void set_control_flags(tcflag_t mask, tcflag_t value) {
    working_state.c_cflag = (working_state.c_cflag & ~mask) | value;
}

int set_or_clear(tcflag_t flag, int on) {
    if (on != 0 && on != 1) return rejected();
    set_control_flags(flag, on == 1 ? flag : 0);
    return apply_working_state();
}

char first_character(const char* text) {
    return text == nullptr ? '\0' : text[0];
}

// The text keeps the reason, unless putting the saved state back fails as well and writes its own. errno is that of the
// reason.
int abandon_open(const char* reason) {
    const int reason_errno = errno;
    snprintf(last_error, sizeof last_error, "%s", reason);
    tio_close();
    errno = reason_errno;
    return -1;
}

// Ends the read that is waiting. An alarm that a failed read left armed may come while none waits, and does nothing.
void alarm_handler(int) {
    if (!alarm_awaited) return;
    alarm_awaited = 0;
    siglongjmp(timed_out, 1);
}

// An alarm that a failed read left armed is cleared before one is awaited, or it could end this read too early.
void arm_alarm() {
    saved_alarm_handler = signal(SIGALRM, alarm_handler);
    alarm(0);
    alarm_awaited = 1;
    alarm(static_cast<unsigned>(timeout_seconds));
}

void disarm_alarm() {
    signal(SIGALRM, saved_alarm_handler);
    alarm(0);
}

int read_line(void* buffer, int length) {
    const ssize_t count = read(line, buffer, static_cast<size_t>(length));
    alarm_awaited = 0;
    if (count < 0) {
        // Kept: the alarm, if armed, stays armed.
        snprintf(last_error, sizeof last_error, "read error (%d) on %d", errno, line);
        return -1;
    }
    // Kept: a negative time-out disarms as well, though it armed nothing.
    if (timeout_seconds != 0) disarm_alarm();
    return static_cast<int>(count);
}

int read_with_timeout(void* buffer, int length) {
    // The jump restores the signal mask, or SIGALRM would stay blocked from the first time-out on. The point to jump to
    // is set before the alarm is armed, so that an alarm that comes at once ends the read as well.
    // Kept: a time-out returns 1, as one byte does, and leaves the disposition of SIGALRM as it is.
    if (sigsetjmp(timed_out, 1) != 0) return timed_out_result;
    arm_alarm();
    return read_line(buffer, length);
}

}  // namespace

int TIO_Gstate(int descriptor, termios* state) {
    if (descriptor < 0 || tcgetattr(descriptor, state) == 0 || is_no_terminal(errno)) return 0;
    snprintf(last_error, sizeof last_error, "TIO_Gstate: %d", errno);
    return -1;
}

int TIO_Sstate(int descriptor, const termios* state) {
    if (descriptor < 0 || tcsetattr(descriptor, TCSANOW, state) == 0 || is_no_terminal(errno)) return 0;
    snprintf(last_error, sizeof last_error, "TIO_Sstate: %d", errno);
    return -1;
}

int tio_raw_mode(termios* state, int console) {
    std::ranges::fill(state->c_cc, cc_t{0});
    state->c_cc[VMIN] = 1;
    state->c_cc[VTIME] = 0;
    state->c_iflag = console ? console_input_flags : line_input_flags;
    state->c_oflag = console ? console_output_flags : 0;
    state->c_lflag &= ~cooked_local_flags;
    if (console) state->c_lflag |= ISIG;

    // The speeds are bits of c_cflag, which is replaced as a whole: they are read before and set again after it.
    const speed_t input_speed = cfgetispeed(state);
    const speed_t output_speed = cfgetospeed(state);
    state->c_cflag = raw_control_flags;
    cfsetispeed(state, input_speed);
    cfsetospeed(state, output_speed);
    return 0;
}

int tio_open(const char* path) {
    // Kept: no path is no error, and opens nothing.
    if (path == nullptr) return 0;

    const int descriptor = open(path, O_RDWR);
    if (descriptor < 0) {
        snprintf(last_error, sizeof last_error, "open(%s): %d", path, errno);
        return -1;
    }
    line = descriptor;
    // Kept: after a failure here tio_close applies the state that an earlier open saved, or all zeros if there is none.
    if (TIO_Gstate(line, &saved_state) < 0) return abandon_open("Unable to save state");

    working_state = saved_state;
    tio_raw_mode(&working_state, 0);
    if (TIO_Sstate(line, &working_state) < 0) return abandon_open("Unable to set new mode");

    // Kept: the state is applied three times. First with flow control on and CLOCAL off, then both are reversed.
    tio_local(1);
    tio_flow(0);
    return line;
}

int tio_speed(const char* name) {
    const int code = speed_code(name);
    if (code < 0) return rejected();
    const auto speed = static_cast<speed_t>(code);
    if (cfsetispeed(&working_state, speed) != 0 || cfsetospeed(&working_state, speed) != 0) {
        fprintf(stderr, "TTY: cannot set speed %d !\n", code);
        return -1;
    }
    return TIO_Sstate(line, &working_state);
}

int tio_read(void* buffer, int length) {
    if (timeout_seconds >= 1) return read_with_timeout(buffer, length);

    const int waiting = tio_peek(line);
    if (waiting == 0) return 0;
    if (waiting < 0) {
        fprintf(stderr, "PEEK: %d\n", waiting);
        return waiting;
    }
    return read_line(buffer, length);
}

int tio_write(const void* buffer, int length) {
    const ssize_t count = write(line, buffer, static_cast<size_t>(length));
    if (count < 0) snprintf(last_error, sizeof last_error, "write error (%d) on %d", errno, line);
    return static_cast<int>(count);
}

int tio_close() {
    int result = 0;
    // Kept: descriptor 0 is neither restored nor closed.
    if (line > 0) {
        TIO_Sstate(line, &saved_state);
        result = close(line);
    }
    line = closed_line;
    return result;
}

int tio_flow(int on) {
    return set_or_clear(CRTSCTS, on);
}

int tio_local(int on) {
    return set_or_clear(CLOCAL, on);
}

int tio_parity(const char* parity) {
    switch (first_character(parity)) {
        case 'N':
        case 'n': set_control_flags(PARENB | PARODD, 0); break;
        case 'E':
        case 'e': set_control_flags(PARENB | PARODD, PARENB); break;
        case 'O':
        case 'o': set_control_flags(PARENB | PARODD, PARENB | PARODD); break;
        default: return rejected();
    }
    return apply_working_state();
}

int tio_stopbits(const char* bits) {
    switch (first_character(bits)) {
        case '1': set_control_flags(CSTOPB, 0); break;
        case '2': set_control_flags(CSTOPB, CSTOPB); break;
        default: return rejected();
    }
    return apply_working_state();
}

int tio_databits(const char* bits) {
    // Kept: the size is cleared before the character is looked at, so a rejected one leaves it cleared (CS5) for
    // whatever applies the state next.
    set_control_flags(CSIZE, 0);
    switch (first_character(bits)) {
        case '5':  // Kept: five gives six.
        case '6': set_control_flags(CSIZE, CS6); break;
        case '7': set_control_flags(CSIZE, CS7); break;
        case '8': set_control_flags(CSIZE, CS8); break;
        default: return rejected();
    }
    return apply_working_state();
}

int tio_break() {
    if (line < 0 || tcsendbreak(line, 0) == 0) return 0;
    snprintf(last_error, sizeof last_error, "Unable to do TCSendBreak (%d)", errno);
    return -1;
}

std::int16_t tio_timeout(std::int16_t seconds) {
    const std::int16_t before = timeout_seconds;
    timeout_seconds = seconds;
    return before;
}

int tio_peek(int descriptor) {
    // A set of select (fd_set) can hold neither a negative descriptor nor one of FD_SETSIZE or more.
    if (descriptor < 0) return 0;
    if (descriptor >= FD_SETSIZE) return rejected();

    fd_set readable;
    FD_ZERO(&readable);
    FD_SET(descriptor, &readable);
    timeval no_wait = {0, 0};
    return select(descriptor + 1, &readable, nullptr, nullptr, &no_wait);
}

const char* tio_last_error() {
    return last_error;
}

const termios* tio_working_state() {
    return &working_state;
}
