// SPDX-License-Identifier: MIT
// Releases a player's codec stream at the end of a test. The program keeps its one stream until it ends; a test program
// makes many, and the leak check would name them.
#pragma once

#include <cstdlib>

#include "player/player.h"

struct StreamOwner {
    Player& player;

    ~StreamOwner() {
        if (!player.stream) return;
        std::free(player.stream->ibuff);
        std::free(player.stream->obuff);
        std::free(player.stream);
    }
};
