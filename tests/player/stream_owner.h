// SPDX-License-Identifier: MIT
// Releases a player's codec stream at the end of a test. The program keeps its one stream until it ends; a test program
// makes many, and the leak check would name them.
#pragma once

#include "player/player.h"
#include "support/stream_release.h"

struct StreamOwner {
    Player& player;

    ~StreamOwner() {
        if (player.stream) StreamRelease()(player.stream);
    }
};
