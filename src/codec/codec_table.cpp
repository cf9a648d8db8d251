// SPDX-License-Identifier: MIT
// The table of wave formats, in the order of their tags.
#include "codec/codec_table.h"

#include <cstdio>

// clang-format off
constexpr CodecEntry codec_table[] = {
    // tag    display name        init
    {0x0001, "Linear PCM",        linear_pcm_init},
    {0x0002, "MS ADPCM",          nullptr},
    {0x0006, "G.711 A-LAW",       g711_alaw_init},
    {0x0007, "G.711 U-LAW",       g711_ulaw_init},
    {0x0011, "IMA ADPCM",         ima_adpcm_init},
    {0x0016, "G.723 (ADPCM)",     nullptr},
    {0x0031, "GSM 06.10",         gsm0610_init},
    {0x0040, "G.721 (ADPCM)",     nullptr},
    {0x0050, "MPEG",              nullptr},
    {0x0055, "MP3",               nullptr},
    {0x0133, "G.729",             nullptr},
    {0,      nullptr,             nullptr},  // end
};
// clang-format on

static_assert(codec_table[0].tag == linear_pcm_tag);

void codec_print_line(const CodecStream& stream) {
    const PcmFormat& format = stream.input_format;
    std::printf("CODEC '%s' for %d channels at %ld Hz with %d bits per sample.\n", stream.name, format.channels,
                static_cast<long>(format.sample_rate), format.bits_per_sample);
}
