// SPDX-License-Identifier: MIT
// The console keyboard: single key presses from standard input.
#pragma once

int kb_raw_on();
int kb_raw_off();
int kb_hit();
int kb_getkey();

// Puts the terminal back as kb_raw_on found it. Async-signal-safe: prints nothing, leaves errno as it was.
void kb_raw_off_in_signal();
