// SPDX-License-Identifier: MIT
// The console keyboard: single key presses from standard input, without Enter and without echo.
//
// Standard input's terminal has two states here: the one that kb_raw_on found, which kb_raw_off and
// kb_raw_off_in_signal put back, and the raw one. Standard input that is no terminal (a file, a pipe) is accepted: raw
// mode on and off both succeed and change nothing.
#pragma once

// Saves the terminal's state and sets the raw one (tio_raw_mode, console): keys arrive one by one and silently, Ctrl-C
// among them as a plain byte. Returns 0; -1 after "KB: unable to get current state !\n" or
// "KB: unable to get set new state !\n" on standard error. Called twice without kb_raw_off it saves the raw state;
// after one that failed it keeps the state saved before, and the next kb_raw_off puts that back.
int kb_raw_on();

// Puts the saved state back; when kb_raw_on never saved one, asks the terminal for its state and changes nothing.
// Returns 0; -1 after "KB: unable to restore state !\n" on standard error.
int kb_raw_off();

// Looks, without waiting, whether a key can be read. Returns 1 when one can (or the end of input), 0 when not, -1 on
// error.
int kb_hit();

// Waits for one key and returns it, 0 to 255; -1 at the end of input or on error.
int kb_getkey();

// Puts the terminal back as kb_raw_on found it, if it is in raw mode by kb_raw_on. Async-signal-safe: prints nothing,
// leaves errno as it was. In a background process group the caller blocks SIGTTOU first, or is stopped by it.
void kb_raw_off_in_signal();
