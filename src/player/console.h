// SPDX-License-Identifier: MIT
// The console of a run: raw mode from console_enter to console_leave, and the rescue of the terminal when a signal
// comes in between.
//
// Guarded are the signals that end a program from outside: hang-up, interrupt, quit, a broken pipe, termination, a
// limit of processor time or file size. The terminal is put back first; then the process dies of the signal it was
// sent, so a shell sees it. A signal that was ignored stays ignored.
#pragma once

// Puts standard input's terminal into raw mode (kb_raw_on, whose messages it prints). The run goes on where that fails.
void console_enter();

// Puts the terminal and the dispositions of the signals back as console_enter found them (kb_raw_off).
void console_leave();
