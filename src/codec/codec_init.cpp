// SPDX-License-Identifier: MIT
#include "codec/codec_init.h"

#include <cstdio>

namespace {

constexpr std::int16_t pcm_bits = 16;

}  // namespace

void codec_print_line(const CodecStream& stream) {
    const PcmFormat& format = stream.input_format;
    std::printf("CODEC '%s' for %d channels at %ld Hz with %d bits per sample.\n", stream.name, format.channels,
                static_cast<long>(format.sample_rate), format.bits_per_sample);
}

int codec_finish_init(CodecStream& stream, int mode, const CodecShape& shape) {
    const bool encoding = mode == codec_mode_encode;
    stream.encode = shape.encode;
    stream.decode = shape.decode;
    stream.ibuff_bytes = encoding ? shape.pcm_bytes : shape.coded_bytes;
    stream.obuff_bytes = encoding ? shape.coded_bytes : shape.pcm_bytes;
    stream.output_format.bits_per_sample = encoding ? shape.coded_bits : pcm_bits;
    return 0;
}
