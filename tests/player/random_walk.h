// SPDX-License-Identifier: MIT
// Walks and whole runs made up from throws of dice; a fuzzer throws them too.
#pragma once

#include <cstdint>
#include <functional>

#include "player/program_model.h"

struct Dice {
    std::function<std::uint32_t()> next;  // any 32 bits

    // From 0 to sides - 1.
    int roll(int sides) const { return static_cast<int>(next() % static_cast<std::uint32_t>(sides)); }
    bool one_in(int count) const { return roll(count) == 0; }
    std::uint8_t byte() const { return static_cast<std::uint8_t>(roll(256)); }
};

Walk random_walk(Dice& dice);

// Arguments, environment and surroundings of a whole run over the recordings of a random walk.
ProgramRun random_program(Dice& dice);
