// SPDX-License-Identifier: MIT
// Blocks of a codec stream: filled and handed on, or fetched and given out. Runs of bytes are copied at once; every
// callback happens at the same byte as if the bytes came one by one.
#include "codec/codec_stream.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "codec/codec_table.h"

namespace {

constexpr std::size_t spare_input_bytes = 1;

// The row of a tag, or null. Linear PCM is the first row; the search begins with the second.
const CodecEntry* find_row(std::uint32_t tag) {
    if (tag == linear_pcm_tag) return &codec_table[0];
    for (const CodecEntry* row = &codec_table[1]; row->name != nullptr; row++) {
        if (row->tag == tag) return row;
    }
    return nullptr;
}

// The size that OBUFF gets: no codec hands on more than the larger of the bytes it takes and the bytes it fills.
std::int16_t output_room(const CodecStream& stream) {
    return std::max(stream.ibuff_bytes, stream.obuff_bytes);
}

int allocate_ibuff(CodecStream& stream) {
    const std::size_t room = static_cast<std::size_t>(stream.ibuff_bytes) + spare_input_bytes;
    stream.ibuff = static_cast<std::uint8_t*>(std::calloc(room, 1));
    if (stream.ibuff != nullptr) return 0;
    std::fprintf(stderr, "Out of memory for IBUFF of %d !\n", stream.ibuff_bytes);
    return -1;
}

int allocate_obuff(CodecStream& stream) {
    if (stream.obuff_bytes <= 0) return 0;
    stream.obuff = static_cast<std::uint8_t*>(std::calloc(static_cast<std::size_t>(output_room(stream)), 1));
    if (stream.obuff != nullptr) return 0;
    std::fprintf(stderr, "Out of memory for OBUFF of %d !\n", stream.obuff_bytes);
    return -1;
}

// Kept: the private state that the codec's init has allocated is not freed when a later step fails.
CodecStream* give_up(CodecStream* stream) {
    std::free(stream->ibuff);
    std::free(stream);
    return nullptr;
}

// Cuts an operation's result to the 16 bits of the record's count and to the size of OBUFF.
std::int16_t output_bytes(const CodecStream& stream, std::uint32_t result) {
    return std::min(static_cast<std::int16_t>(result), output_room(stream));
}

// Encodes the full IBUFF, or takes it as it is when the codec passes bytes through, and hands the result on.
void finish_block(CodecStream& stream) {
    std::uint8_t* output = stream.ibuff;
    stream.output_count = stream.ibuff_bytes;
    if (stream.encode != nullptr) {
        const auto count = static_cast<std::uint32_t>(stream.ibuff_bytes);
        output = stream.obuff;
        stream.output_count = output_bytes(stream, stream.encode(stream, stream.ibuff, stream.obuff, count));
    }
    stream.io(stream.io_context, output, stream.output_count);
}

// The first call finds no block to finish.
void finish_and_start_block(CodecStream& stream) {
    if (stream.write_cursor != nullptr) finish_block(stream);
    stream.space_left = stream.ibuff_bytes;
    stream.write_cursor = stream.ibuff;
}

// Gets the next block and decodes it. Returns what the callback returned: 0 is the end, negative an error. A block may
// decode to nothing; bytes_left is then 0.
int fetch_block(CodecStream& stream) {
    const int result = stream.io(stream.io_context, stream.ibuff, stream.ibuff_bytes);
    // A callback that claims more than it was asked for has given what IBUFF holds.
    stream.last_read = static_cast<std::int16_t>(std::clamp<int>(result, INT16_MIN, stream.ibuff_bytes));
    if (result < 0) return result;
    stream.read_cursor = stream.ibuff;
    stream.bytes_left = stream.last_read;
    if (result == 0 || stream.decode == nullptr) return result;

    const auto count = static_cast<std::uint32_t>(stream.last_read);
    stream.bytes_left = output_bytes(stream, stream.decode(stream, stream.ibuff, stream.obuff, count));
    stream.read_cursor = stream.obuff;
    return result;
}

// The buffers of a stream that codes have the sizes of its own direction.
bool is_encoder(const CodecStream& stream) {
    return stream.mode == codec_mode_encode && stream.decode != nullptr;
}

bool is_decoder(const CodecStream& stream) {
    return stream.mode != codec_mode_encode && stream.encode != nullptr;
}

int failed_read() {
    std::fputs("I/O error during READ DATA !\n", stderr);
    return -1;
}

}  // namespace

CodecStream* codec_stream_create(std::uint32_t tag, int mode, const PcmFormat* format, std::int16_t block_bytes) {
    const CodecEntry* codec = find_row(tag);
    if (codec == nullptr || codec->init == nullptr) return nullptr;

    auto* stream = static_cast<CodecStream*>(std::calloc(1, sizeof(CodecStream)));
    if (stream == nullptr) {
        std::fputs("Out of memory for codec stream !\n", stderr);
        return nullptr;
    }
    stream->name = codec->name;
    stream->input_format = *format;
    stream->output_format = *format;
    stream->block_bytes = block_bytes;
    stream->mode = mode;

    if (codec->init(*stream, mode) < 0) return give_up(stream);
    if (stream->ibuff_bytes <= 0) return give_up(stream);  // a block of nothing never fills and never ends
    if (allocate_ibuff(*stream) < 0) return give_up(stream);
    if (allocate_obuff(*stream) < 0) return give_up(stream);
    return stream;
}

void codec_stream_write(CodecStream* stream, const std::uint8_t* bytes, int count) {
    if (is_decoder(*stream)) return;
    while (count > 0) {
        if (stream->space_left <= 0) finish_and_start_block(*stream);
        const int run = std::min<int>(count, stream->space_left);
        std::memcpy(stream->write_cursor, bytes, static_cast<std::size_t>(run));
        stream->write_cursor += run;
        stream->space_left = static_cast<std::int16_t>(stream->space_left - run);
        bytes += run;
        count -= run;
    }
}

int codec_stream_read(CodecStream* stream, std::uint8_t* buffer, int count) {
    if (count > 0 && is_encoder(*stream)) return failed_read();
    int delivered = 0;
    while (delivered < count) {
        if (stream->bytes_left <= 0) {
            const int fetched = fetch_block(*stream);
            if (fetched < 0) return failed_read();
            if (fetched == 0) break;
            if (stream->bytes_left <= 0) continue;
        }
        const int run = std::min<int>(count - delivered, stream->bytes_left);
        std::memcpy(buffer + delivered, stream->read_cursor, static_cast<std::size_t>(run));
        stream->read_cursor += run;
        stream->bytes_left = static_cast<std::int16_t>(stream->bytes_left - run);
        delivered += run;
    }
    return delivered;
}
