// SPDX-License-Identifier: MIT
// Samples to the codes of G.711 (ITU-T G.711, "Pulse code modulation (PCM) of voice frequencies", 1988): one sample at
// a time on every processor, and in runs where the processor has the vectors for it. Both give the same codes, which
// g711_compress_test holds for each of the 65536 samples.
//
// Kept, where the codes differ from the recommendation: a negative sample's magnitude is -s, not its one's complement,
// so that at the lower end of a decision interval it codes one step higher; and -32768 has no magnitude in 16 bits, so
// that it codes as 0x55 (A-law), as 0x7F (u-law).
#pragma once

#include <cstdint>

std::uint8_t g711_alaw_compress(std::int16_t sample);
std::uint8_t g711_ulaw_compress(std::int16_t sample);

// Codes the first of `samples` little-endian samples at `in` into one byte each at `out`. Returns how many: whole
// sixteens, or none where the processor has no such vectors; the rest is the caller's to code.
std::uint32_t g711_alaw_compress_run(const std::uint8_t* in, std::uint8_t* out, std::uint32_t samples);
std::uint32_t g711_ulaw_compress_run(const std::uint8_t* in, std::uint8_t* out, std::uint32_t samples);
