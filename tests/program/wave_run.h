// SPDX-License-Identifier: MIT
// A conversion whose decoded blocks are known.
#pragma once

#include <gtest/gtest.h>

#include "program/scenario.h"

// Converts "rec.ambe" with `-F format`; the vocoder answers the first frame with all blocks of `pcm`. The WAVE file.
inline Bytes convert_blocks(const std::string& format, const Bytes& pcm) {
    ThreeFrames scenario({"-W", "-F", format},
                         "recv 48 5\nrecv 320 4 " + std::to_string(pcm.size() / block_bytes) + "\nrest 48 5\n");
    scenario.blocks = pcm;
    EXPECT_EQ(scenario.run().status, 0);
    return scenario.file("rec.wav");
}
