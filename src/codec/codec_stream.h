// SPDX-License-Identifier: MIT
// One encoder or decoder: bytes of one wave format in, bytes of another out, a block at a time.
#pragma once

#include <cstdint>

#include "codec/pcm_format.h"

struct CodecStream;

// (stream, input, output, input bytes) -> output bytes
using CodecOperation = std::uint32_t (*)(CodecStream& stream, const std::uint8_t* in, std::uint8_t* out,
                                         std::uint32_t count);
// (context, buffer, bytes) -> bytes taken or given; negative is an error
using CodecIoCallback = int (*)(void* context, std::uint8_t* buffer, int count);

constexpr std::uint16_t codec_flag_block_headers = 1;  // every decoded block begins with a 4-byte header
constexpr int codec_mode_encode = 1;                   // any other mode decodes

struct CodecStream {
    const char* name;
    std::uint16_t flags;
    std::int16_t block_size;
    PcmFormat input_format;
    PcmFormat output_format;
    CodecOperation encode;
    CodecOperation decode;
    CodecIoCallback io;
    void* io_context;
    std::uint8_t* ibuff;
    std::uint8_t* read_cursor;
    std::uint8_t* obuff;
    std::uint8_t* write_cursor;
    std::int16_t ibuff_size;
    std::int16_t obuff_size;
    std::int16_t last_read;
    std::int16_t output_count;
    std::int16_t bytes_left;
    std::int16_t space_left;
    void* codec_private;
};

CodecStream* codec_stream_create(std::uint32_t tag, int mode, const PcmFormat* format, std::int16_t block_size);
void codec_stream_write(CodecStream* stream, const std::uint8_t* bytes, int count);
int codec_stream_read(CodecStream* stream, std::uint8_t* buffer, int count);
