// SPDX-License-Identifier: MIT
// The serial line to the vocoder.
//
// One line is open at a time, process-wide and for one thread. Three terminal states exist: the saved one, found at
// open and written back at close; the working one, which every setter edits and then applies; and the device's own. A
// descriptor that is no terminal (a plain file, a pipe) is accepted: its bytes flow, its settings go nowhere.
//
// Errors: -1, with errno as the failing call left it and the reason in a text of at most 127 characters
// (tio_last_error). No function retries or ends the program, and none prints unless its declaration says so. Bad
// arguments to tio_speed and to the setters give errno EINVAL and no text.
#pragma once

#include <termios.h>

#include <cstdint>

// Called back by the vocoder library: exported from the program under these names.
extern "C" {

// Opens the line at `path` for both directions and puts it into raw mode: 8 data bits, no parity, one stop bit, modem
// lines ignored, no flow control, at the speed that it had. A line that is open already is forgotten, not closed.
// Returns the descriptor; 0 for a null path, with nothing opened; -1 when the device does not open (an open line then
// stays) or its state cannot be read or set (the line is then closed).
[[gnu::visibility("default")]] int tio_open(const char* path);

// Sets both directions of the line to `name`, a row of the speed table such as "230400"; letters count as written.
// With no line open only the working state changes. Returns 0; -1 with errno EINVAL when no row has that name, null
// included (line and working state are then as before); -1 when the speed cannot be set or applied.
// Prints "TTY: cannot set speed %d !\n" on standard error, with the termios code, not the baud rate, when the C library
// refuses the code.
[[gnu::visibility("default")]] int tio_speed(const char* name);

// Reads at most `length` bytes into `buffer`. Returns the count of bytes read, -1 on failure.
// Time-out below 1: never blocks. Returns 0 when no byte is waiting or no line is open, -1 after printing "PEEK: %d\n"
// on standard error when the line cannot be asked.
// Time-out of 1 or more: blocks for at most so many seconds by SIGALRM, taking the process's alarm and its disposition.
// Returns 1, as for one byte, with `buffer` as before, when the time is over; the disposition is put back and the
// alarm cleared only after a read that succeeds.
[[gnu::visibility("default")]] int tio_read(void* buffer, int length);

// Writes `length` bytes with one write. Returns its result: a count, possibly short, or -1.
[[gnu::visibility("default")]] int tio_write(const void* buffer, int length);

// Puts the line's saved state back and closes it. Returns the result of close, or 0 when no line is open.
// Descriptor 0 is only forgotten: neither restored nor closed.
[[gnu::visibility("default")]] int tio_close();

}  // extern "C"

// Read (tcgetattr) and apply (tcsetattr, at once) a terminal's state. Return 0; -1 with the text "TIO_Gstate: %d" or
// "TIO_Sstate: %d". A negative descriptor is passed over. One that is no terminal (ENOTTY, EINVAL) is accepted: 0, with
// that errno and the record as before.
int TIO_Gstate(int descriptor, termios* state);
int TIO_Sstate(int descriptor, const termios* state);

// Rewrites `state` into raw mode, its speeds kept: one byte ends a read, no special characters, no echo, 8N1, receiver
// and RTS/CTS on, CLOCAL off. `console` 0 is for the line: breaks ignored, bytes out unchanged; 1 for the console: "\n"
// still goes out as CR LF, and ISIG is set, although no key sends a signal where there are no special characters.
// Applies nothing. Always returns 0.
int tio_raw_mode(termios* state, int console);

// The setters, of which tio_open calls the first two and the program no other. Each edits the working state, then
// applies it to the line when one is open. Return 0, also when the state could not be applied (only the text then
// tells); -1 with errno EINVAL when the argument is none of those listed, null included: nothing is applied then, and
// only tio_databits has changed anything.
int tio_flow(int on);                // RTS/CTS hardware flow control: 0 or 1
int tio_local(int on);               // 1 ignores the modem control lines, 0 heeds them
int tio_parity(const char* parity);  // first character N, E or O, of either case
int tio_stopbits(const char* bits);  // first character 1 or 2
int tio_databits(const char* bits);  // first character 5 to 8; 5 gives six bits; another leaves the size cleared

// Not called by the program. Sends a break of the system's usual length. Returns 0, also when no line is open; -1 on
// failure, with a text.
int tio_break();

// Not called by the program, so that its reads never block. Sets the time-out of tio_read in seconds, 0 or less for
// none. Returns the one before.
std::int16_t tio_timeout(std::int16_t seconds);

// Asks without waiting whether `descriptor` has input. Returns 1 when it has (its end or a hang-up included), 0 when
// not, -1 on error. A negative descriptor never has any: 0. One that does not fit a set of select (FD_SETSIZE or more)
// cannot be asked: -1 with errno EINVAL.
int tio_peek(int descriptor);

// Not called by the program. The text of the layer's last failure, cut to 127 characters; empty before the first one.
// Later failures overwrite it.
const char* tio_last_error();

// Not called by the program. The working state, for diagnosis: what the next setter edits and applies.
const termios* tio_working_state();
