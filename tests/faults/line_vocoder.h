// SPDX-License-Identifier: MIT
// A vocoder library that works over the line, and the vocoder at the line's other end, both on the program's thread:
// what one has sent has arrived before the other goes on, so that every run makes the same calls.
//
//   the library sends      the vocoder answers
//   'R' 1                  with its first request
//   'F' and 48 bytes       with the frame's four blocks and the next request
//   'R' 0                  not at all
//
// A line on which nothing comes is "nothing received" once in a file, then the vocoder's time-out.
#pragma once

#include "faults/faults.h"
#include "support/pty.h"
#include "support/temp_dir.h"

constexpr int blocks_of_a_frame = 4;

// What the vocoder makes of the frame that begins with the byte `number`, 1 to 5: four blocks.
Bytes decoded(int number);

// Plugs the vocoder in. `key` is pressed on the keyboard when it hears its first frame.
void plug_in_vocoder(Pty& line, Pty& keyboard, char key, Report* report);
