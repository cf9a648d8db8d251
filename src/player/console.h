// SPDX-License-Identifier: MIT
// The console of a run: raw mode from console_enter to console_leave, and the rescue of what a run that is ended in the
// middle would leave behind: a terminal in raw mode, and a WAVE file without its sizes (riff_rescue).
//
// The rescue comes with `exit` and `abort`, also when the vocoder library calls them, and with every signal that can be
// caught and whose default action ends the program. The process still dies of the signal it was sent, so a shell sees
// it. A signal that is ignored stays ignored, and one that somebody else handles stays theirs. A forked child rescues
// nothing. SIGKILL leaves everything as it is.
#pragma once

// Sets up the rescue: a handler for each signal that would end the program now. Called before each file, since others
// may have put the default action back meanwhile; nothing takes the handlers away again.
void console_guard();

// Puts standard input's terminal into raw mode (kb_raw_on, whose messages it prints). The run goes on where that fails.
void console_enter();

// Puts the terminal back as console_enter found it (kb_raw_off).
void console_leave();
