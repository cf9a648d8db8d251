// SPDX-License-Identifier: MIT
// A PCM stream's shape, as a codec stream sees it.
#pragma once

#include <cstdint>

struct PcmFormat {
    std::int16_t channels;
    std::int16_t bits_per_sample;
    unsigned long sample_rate;  // samples per second
};
