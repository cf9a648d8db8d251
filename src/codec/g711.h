// SPDX-License-Identifier: MIT
// The two laws of G.711 (ITU-T G.711, "Pulse code modulation (PCM) of voice frequencies", 1988).
//
// A law has two maps, which every stream of that law shares: from each of the 65536 samples to its code, and from each
// of the 256 codes to its sample. The first init of the law builds them; they live until the process ends. The rules of
// encoding stand in g711_compress.h.
//
// Kept, where decoding differs from the recommendation: u-law values are about twice the standard ones; the largest
// wrap in 16 bits.
#pragma once

#include <cstdint>

#include "codec/codec_stream.h"

// What the private block of a G.711 stream holds: its law's maps, shared and constant.
struct G711State {
    const std::int16_t* decode_map;  // 256 samples by code
    const std::uint8_t* encode_map;  // 65536 codes by the sample's 16 bits as an unsigned number
};

// Rows of the codec table (CodecInit). Return 0; -1 after "Out of memory for LAW CB !\n", "Out of memory for LAW Encode
// Map !\n" or "Out of memory for LAW Decode Map !\n" on standard error. A map that could not be had is tried again at
// the next init.
int g711_alaw_init(CodecStream& stream, int mode);
int g711_ulaw_init(CodecStream& stream, int mode);

// Not called by the program. One sample, coded and expanded with the u-law maps. A u-law init must have built them;
// before that every sample is coded as 0xFF and every code expands to 0.
std::uint8_t g711_ulaw_encode_sample(std::int16_t sample);
std::int16_t g711_ulaw_decode_sample(std::uint8_t code);
