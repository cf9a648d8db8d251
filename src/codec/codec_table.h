// SPDX-License-Identifier: MIT
// The wave formats that have a name, and the codecs that some of them have.
#pragma once

#include <cstdint>

#include "codec/codec_stream.h"

// Fills the stream for the mode; 0, or negative after its message.
using CodecInit = int (*)(CodecStream& stream, int mode);

struct CodecEntry {
    std::uint16_t tag;
    const char* name;   // null ends the table
    CodecInit init;     // null: named, not supported
};

extern const CodecEntry codec_table[];
