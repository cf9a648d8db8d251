// SPDX-License-Identifier: MIT
// Linear PCM: bytes pass through unchanged, in pieces of 1024.
#pragma once

#include "codec/codec_stream.h"

// A row of the codec table (CodecInit). Both modes are the same: no operation, no OBUFF, the output format that of the
// input. Returns 0.
int linear_pcm_init(CodecStream& stream, int mode);
