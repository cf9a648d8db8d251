// SPDX-License-Identifier: MIT
// One recording, from its first frame to its last decoded block.
//
// The pump is a state machine. Its steps: SPIN turns the spinner and polls the keyboard, READ fetches the next frame,
// RECV receives a packet, DISPATCH goes on by the state. A file begins with DISPATCH in state 1.
//
//   state  name           meaning                              DISPATCH                  READ leads to
//   1      file_started   no frame was read yet                spinner to 0, then SPIN   2, RECV
//   2      frame_wanted   the last frame was sent or dropped;  SPIN                      3, RECV
//                         also right after the first READ
//   3      frame_waiting  a frame waits for the vocoder's      RECV                      (never reads)
//                         request
//   4      never_entered                                       as an unknown packet      (never reads)
//
//   step  what happened          event         what is done                            state  next
//   SPIN  the space bar                        prints "STOPPED\n"                             the file ends
//         another key, or none                 drops the key                                  READ
//   READ  no frame is left                     prints "DONE\n"                                the file ends
//         a frame                              becomes the frame to send; one that     above  RECV
//                                              was not sent is lost
//   RECV  length < 0             failed                                                       the file ends
//         length 0               nothing                                                      DISPATCH
//         length 48, type 5      wants_frame   sends the frame, its bits reversed      2      SPIN
//                                              under -R
//         length 320, type 4     pcm_block     hands the block to the sink             3      RECV
//         length 34, type 1      timed_out     prints "TIMEOUT\n"                             the file ends
//         any other              unknown                                               2      SPIN
//
// Where the state column is empty, the state does not change.
#pragma once

#include "player/player.h"

// Plays the recording at `path`, or converts it in write mode into the WAVE file beside it. Blocks until the file ends
// by the table above. Returns 0 then, however it ended; -1 when the recording or its sink could not be started, in
// which case the vocoder is not called and the console not touched. Progress goes to standard output, the teardown's
// steps to standard error.
int decode_file(Player& player, const char* path);
