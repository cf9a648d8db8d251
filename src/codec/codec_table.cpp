// SPDX-License-Identifier: MIT
// The table of wave formats, in the order of their tags.
#include "codec/codec_table.h"

#include <cstring>

#include "codec/g711.h"
#include "codec/gsm0610.h"
#include "codec/ima_adpcm.h"
#include "codec/linear_pcm.h"

// clang-format off
constexpr CodecEntry codec_table[] = {
    // tag            display name        init             after -F
    {linear_pcm_tag,  "Linear PCM",        linear_pcm_init, "pcm"},
    {0x0002,          "MS ADPCM",          nullptr},
    {0x0006,          "G.711 A-LAW",       g711_alaw_init,  "alaw"},
    {0x0007,          "G.711 U-LAW",       g711_ulaw_init,  "ulaw"},
    {0x0011,          "IMA ADPCM",         ima_adpcm_init,  "adpcm"},
    {0x0016,          "G.723 (ADPCM)",     nullptr},
    {0x0031,          "GSM 06.10",         gsm0610_init,    "gsm"},
    {0x0040,          "G.721 (ADPCM)",     nullptr},
    {0x0050,          "MPEG",              nullptr},
    {0x0055,          "MP3",               nullptr},
    {0x0133,          "G.729",             nullptr},
    {},               // end: no name
};
// clang-format on

static_assert(codec_table[0].tag == linear_pcm_tag);

const CodecEntry* codec_by_option(const char* option) {
    for (const CodecEntry* row = codec_table; row->name != nullptr; row++) {
        if (row->option != nullptr && std::strcmp(row->option, option) == 0) return row;
    }
    return nullptr;
}
