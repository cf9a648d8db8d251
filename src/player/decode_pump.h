// SPDX-License-Identifier: MIT
// One recording, from its first frame to its last decoded block.
#pragma once

#include "player/player.h"

// Plays the recording at `path`, or converts it in write mode into the WAVE file beside it. Blocks until the recording
// ends, the space bar is pressed, the vocoder times out or the link fails; each of these is a run.
// Returns 0 after a run; -1 when the recording or its sink could not be started, in which case the vocoder is not
// called and the console not touched. Progress goes to standard output, the teardown's steps to standard error.
int decode_file(Player& player, const char* path, bool write_mode);
