// SPDX-License-Identifier: MIT
// The decode pump written down a second time, as plainly as it can be: what a walk must come to.
//
// It is slow, knows linear PCM only and touches no file; the table of what the vocoder says is data, so that a test can
// also give it a wrong one.
#pragma once

#include "player/walk.h"

constexpr int any_type = -1;
constexpr int unchanged = 0;

// A row of the table: what a packet makes the pump do.
struct PumpRow {
    int length;
    int type;
    const char* last_words;  // set: the file ends with this text
    bool sends_frame;
    bool delivers_block;
    int next_state;
    enum class Next { spin, receive, by_state, end } next;
};

struct PumpTable {
    PumpRow failed, nothing, wants_frame, pcm_block, timed_out, other;
};

extern const PumpTable pump_table;

WalkOutcome walk_model(const Walk& walk, const std::string& directory, const PumpTable& table = pump_table);
