// SPDX-License-Identifier: MIT
// The files that coded audio must give, worked out without the program's own coders: G.711 by its decision intervals,
// IMA ADPCM by thresholds, GSM 06.10 by libgsm itself.
#pragma once

#include <cstdint>

#include "support/temp_dir.h"

// How many whole input blocks of `size` are coded of `total` bytes: the last one only when a byte follows it.
std::size_t coded_inputs(std::size_t total, std::size_t size);

std::uint8_t alaw(std::int16_t sample);
std::uint8_t ulaw(std::int16_t sample);

struct ImaState {
    int predictor = 0;
    int index = 0;
};
// The state after a code of the encoder, whose predictor is then the sample heard.
void ima_follow(ImaState& state, int code);

// The whole file for `pcm`, the linear samples that the vocoder delivered.
Bytes alaw_file(const Bytes& pcm);
Bytes ulaw_file(const Bytes& pcm);
Bytes adpcm_file(const Bytes& pcm);
Bytes gsm_file(const Bytes& pcm);
