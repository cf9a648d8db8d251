// SPDX-License-Identifier: MIT
// What the software dongle offers beside the nine functions of link/dongle.h, to those who link its objects.
#pragma once

#include "lanes/decoder_version.h"

// Recordings that start from now on are decoded by `version`, which must be one that this processor can run, and not by
// the fastest one. For benchmarks.
void software_dongle_use(const DecoderVersion& version);
