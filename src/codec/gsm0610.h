// SPDX-License-Identifier: MIT
// GSM 06.10 full rate (ETSI EN 300 961), coded by libgsm, in the layout of WAVE files: two frames in 65 bytes.
//
//   byte   0             32   33             65
//        ┌─────────────┬────┬──────────────┐
//        │ first frame │ ½½ │ second frame │      byte 32 has four bits of either frame
//        └─────────────┴────┴──────────────┘
//
// Kept: an encoder codes one frame of its block of two, and hands on 640 bytes, 32 and 33 of them coded in turn; the
// rest is zero.
#pragma once

#include "codec/codec_stream.h"

// A row of the codec table (CodecInit). Returns 0; -1 after "Out of memory for GSM CB !\n" on standard error, and
// without a message when libgsm was built without the layout of WAVE files.
int gsm0610_init(CodecStream& stream, int mode);
