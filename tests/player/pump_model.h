// SPDX-License-Identifier: MIT
// The decode pump written down a second time, as plainly as it can be: what a walk must come to.
//
// It is slow and touches no file; the table of what the vocoder says is data, so that a test can
// also give it a wrong one.
#pragma once

#include "player/coder_model.h"
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

// What of the model lives as long as the program.
struct PumpModel {
    const Walk& walk;
    const PumpTable& table;
    CoderModel coder;
    WalkOutcome outcome = {};
    std::string unflushed = {};  // of standard output
    std::size_t polls_made = 0;
    Bytes unpulled = {};  // the block that the audio layer has not taken, or none

    PumpModel(const Walk& walk_through, const PumpTable& by) : walk(walk_through), table(by), coder(walk.format_tag) {}
};

// What goes into the trace: a call, a text on standard error, one on standard output as soon as that is flushed.
void calls(PumpModel& program, const std::string& call);
void complains(PumpModel& program, const std::string& text);
void prints(PumpModel& program, const std::string& text);
void flushes(PumpModel& program);

// One recording of the walk, from "Converting file" or "Playing file" to the end of its teardown.
void model_decode(PumpModel& program, const std::string& directory, std::size_t index);

WalkOutcome walk_model(const Walk& walk, const std::string& directory, const PumpTable& table = pump_table);
