// SPDX-License-Identifier: MIT
#include "codec/linear_pcm.h"

#include "codec/codec_init.h"

namespace {

constexpr std::int16_t piece_bytes = 1024;

}  // namespace

int linear_pcm_init(CodecStream& stream, int /*mode*/) {
    codec_print_line(stream);
    stream.encode = nullptr;
    stream.decode = nullptr;
    stream.ibuff_bytes = piece_bytes;
    stream.obuff_bytes = 0;
    return 0;
}
