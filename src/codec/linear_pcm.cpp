// SPDX-License-Identifier: MIT
// Linear PCM: bytes pass through unchanged, in pieces of one block.
#include "codec/codec_table.h"

namespace {

constexpr std::int16_t block_bytes = 1024;

}  // namespace

// Both modes are the same: no operation, no OBUFF, the output format that of the input.
int linear_pcm_init(CodecStream& stream, int /*mode*/) {
    codec_print_line(stream);
    stream.encode = nullptr;
    stream.decode = nullptr;
    stream.ibuff_size = block_bytes;
    stream.obuff_size = 0;
    return 0;
}
