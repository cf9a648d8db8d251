// SPDX-License-Identifier: MIT
// Puts the terminal back when a signal ends the program while the console is in raw mode.
//
// Guarded are the signals that end a program from outside: hang-up, interrupt, quit, a broken pipe, termination, a
// limit of processor time or file size. The process still dies of the signal it was sent, so a shell sees it. A signal
// that was ignored stays ignored.
#pragma once

// Around kb_raw_on and kb_raw_off: on before the first, off after the second.
void console_guard_on();
void console_guard_off();
