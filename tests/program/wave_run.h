// SPDX-License-Identifier: MIT
// A conversion whose decoded blocks are known, and the WAVE file that it must write.
#pragma once

#include <string>

#include "program/recordings.h"
#include "program/scenario.h"

struct WaveRun {
    Outcome outcome;
    Bytes wave;
};

// Converts "rec.ambe" with `-F format`; the vocoder answers the first frame with all blocks of `pcm`.
WaveRun convert_blocks(const std::string& format, const Bytes& pcm);

// The 44-byte head of a linear PCM file with `data` bytes of audio.
Bytes pcm_head(unsigned data);
// The 46-byte head of any other format.
Bytes coded_head(unsigned tag, unsigned byte_rate, unsigned block_align, unsigned bits, unsigned data);
