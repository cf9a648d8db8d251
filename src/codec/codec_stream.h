// SPDX-License-Identifier: MIT
// One encoder or decoder: bytes of one wave format in, bytes of another out, a block at a time.
//
// A stream has an input buffer of one block (IBUFF) and, unless its codec passes bytes through, an output buffer
// (OBUFF). One callback connects it to the outside: an encoder is written to and hands finished blocks to the callback;
// a decoder is read from and fetches raw blocks through it.
//
// A stream lives until the process ends: nothing closes or flushes it. Kept: the bytes that wait in IBUFF at the end, a
// whole last block included, are never handed on. One thread uses a stream.
#pragma once

#include <cstdint>

#include "codec/pcm_format.h"

struct CodecStream;

// Codes `count` bytes at `in` into `out`; returns the number of bytes at `out` that the stream hands on.
using CodecOperation = std::uint32_t (*)(CodecStream& stream, const std::uint8_t* in, std::uint8_t* out,
                                         std::uint32_t count);

// Takes `count` bytes of `buffer` (encoding), or puts up to `count` bytes there (decoding). Returns the number of
// bytes, 0 at the end, negative on an error.
using CodecIoCallback = int (*)(void* context, std::uint8_t* buffer, int count);

constexpr std::uint16_t codec_flag_block_headers = 1;  // every block that is decoded begins with a 4-byte header
constexpr int codec_mode_encode = 1;                   // any other mode decodes

struct CodecStream {
    const char* name;            // of the table row, not a copy
    std::uint16_t flags;         // 0 at creation; codec_flag_block_headers is the caller's to set
    std::int16_t block_bytes;    // as asked for at creation, in bytes; 0 or less is the codec's own choice
    PcmFormat input_format;      // of the bytes written (encoding), of the PCM wanted (decoding)
    PcmFormat output_format;     // the same, with the bits per sample of what comes out
    CodecOperation encode;       // null passes bytes through
    CodecOperation decode;       // null passes bytes through
    CodecIoCallback io;          // the caller's to set before the first write or read
    void* io_context;            // first argument of the callback
    std::uint8_t* ibuff;         // IBUFF
    std::uint8_t* read_cursor;   // decoding: the next byte to give out
    std::uint8_t* obuff;         // OBUFF, or null
    std::uint8_t* write_cursor;  // encoding: the next free byte of IBUFF; null before the first byte
    std::int16_t ibuff_bytes;    // bytes in a block of input
    std::int16_t obuff_bytes;    // bytes that the codec fills; 0 is no OBUFF
    std::int16_t last_read;      // decoding: what the callback returned last
    std::int16_t output_count;   // encoding: bytes in the block that was handed on last
    std::int16_t bytes_left;     // decoding: bytes that are still to be given out
    std::int16_t space_left;     // encoding: free bytes in IBUFF
    void* codec_private;         // the codec's own state, or null
    int mode;                    // as asked for at creation
};

// Makes a stream for the format `tag`: an encoder when `mode` is codec_mode_encode, else a decoder. `format` is copied.
// `block_bytes` is the size of a coded block in bytes, for the codecs that leave a choice (IMA ADPCM); with 0 or less
// the choice is theirs.
//
// Prints the codec's line, "CODEC '%s' for %d channels at %ld Hz with %d bits per sample.\n", on standard output.
// Returns the stream, which is never released, or null:
//   without a message, nothing printed   no codec has the tag, or a buffer for `block_bytes` would not fit 16 bits
//   without a message                    the codec cannot work, or gives IBUFF no size
//   after a message on standard error    memory ran out; private state that the codec has allocated is not freed
//
// OBUFF has room for the larger of the two sizes and is zero where nothing was coded: some codecs hand on more bytes
// than they code. IBUFF has a zero byte to spare: an encoder takes a last odd byte for a whole sample.
CodecStream* codec_stream_create(std::uint32_t tag, int mode, const PcmFormat* format, std::int16_t block_bytes);

// Writes `count` bytes to an encoding stream; 0 or less does nothing, nor does a write to a decoder. A full IBUFF is
// coded and handed on when the byte after it arrives, not before. What the callback returns is ignored.
void codec_stream_write(CodecStream* stream, const std::uint8_t* bytes, int count);

// Not called by the program. Reads `count` bytes from a decoding stream into `buffer`, calling for as many blocks as
// that takes. Returns `count`; fewer at the end; 0 when `count` is 0 or less; -1, after "I/O error during READ DATA
// !\n" on standard error, when the stream is an encoder, or when the callback fails, whatever was put into `buffer` by
// then. A codec without operations has no directions: its streams can be written to and read from in either mode.
int codec_stream_read(CodecStream* stream, std::uint8_t* buffer, int count);
