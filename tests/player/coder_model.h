// SPDX-License-Identifier: MIT
// What the program's codec stream and WAVE writer do, once more: blocks are coded one by one when the byte after them
// comes, and the head of the file says the format.
#pragma once

#include <cstdint>
#include <span>

#include "support/stream_release.h"
#include "support/wave.h"

// A format that can be chosen, with what its file's head and its coder look like.
struct CodedFormat {
    std::uint32_t tag;
    const char* option;  // of -F
    const char* display_name;
    std::size_t block_bytes;  // of PCM, coded at a time
    int bits, align;          // in the head
};

inline constexpr CodedFormat coded_formats[] = {
    {0x01, "pcm",   "Linear PCM",  1024, 16, 2},
    {0x07, "ulaw",  "G.711 U-LAW", 2048, 8,  1},
    {0x06, "alaw",  "G.711 A-LAW", 2048, 8,  1},
    {0x11, "adpcm", "IMA ADPCM",   4096, 4,  0},
    {0x31, "gsm",   "GSM 06.10",   640,  0,  0},
};

const CodedFormat& coded_format(std::uint32_t tag);

// Waits for whole blocks across files, as the program does. The codes themselves are the codec's own.
class CoderModel {
  public:
    explicit CoderModel(std::uint32_t tag);

    // Appends to `data` what comes out while `pcm` goes in.
    void write(std::span<const std::uint8_t> pcm, Bytes& data);

    // The file that holds `data`: its head, and a "data" chunk unless there is no data.
    Bytes wave_file(const Bytes& data) const;

  private:
    const CodedFormat& format_;
    StreamPtr coder_;  // null for linear PCM
    StreamModel stream_;
};
