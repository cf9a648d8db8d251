// SPDX-License-Identifier: MIT
// Codec streams that a test can own, and the two ends of their callback.
#pragma once

#include <gsm.h>

#include <cstdint>
#include <cstdlib>
#include <deque>
#include <memory>
#include <string>
#include <vector>

#include "codec/codec_stream.h"
#include "support/capture.h"
#include "support/temp_dir.h"

constexpr std::uint32_t linear_pcm = 0x0001;
constexpr std::uint32_t g711_alaw = 0x0006;
constexpr std::uint32_t g711_ulaw = 0x0007;
constexpr std::uint32_t ima_adpcm = 0x0011;
constexpr std::uint32_t gsm0610 = 0x0031;

constexpr int mode_encode = 1;
constexpr int mode_decode = 0;

constexpr PcmFormat telephone_pcm = {1, 16, 8000};

// The program never releases a stream; a test does, so that a leak is seen.
struct StreamRelease {
    void operator()(CodecStream* stream) const {
        if (stream->name == std::string("GSM 06.10")) {
            gsm_destroy(static_cast<gsm>(stream->codec_private));
        } else {
            std::free(stream->codec_private);
        }
        std::free(stream->ibuff);
        std::free(stream->obuff);
        std::free(stream);
    }
};
using StreamPtr = std::unique_ptr<CodecStream, StreamRelease>;

// What was printed meanwhile goes to `output`, if there is one.
inline StreamPtr new_stream(std::uint32_t tag, int mode, std::int16_t block_bytes = 0, Output* output = nullptr,
                            const PcmFormat& format = telephone_pcm) {
    CodecStream* stream = nullptr;
    const Output printed = output_of([&] { stream = codec_stream_create(tag, mode, &format, block_bytes); });
    if (output != nullptr) *output = printed;
    return StreamPtr(stream);
}

// Takes blocks from an encoding stream.
struct BlockSink {
    std::vector<Bytes> blocks;
    std::vector<const std::uint8_t*> buffers;
    int result = 0;

    static int take(void* context, std::uint8_t* buffer, int count) {
        auto* sink = static_cast<BlockSink*>(context);
        sink->blocks.emplace_back(buffer, buffer + (count > 0 ? count : 0));
        sink->buffers.push_back(buffer);
        return sink->result;
    }
    void attach(CodecStream& stream) {
        stream.io = take;
        stream.io_context = this;
    }
};

// Gives pieces to a decoding stream, one a call; at the end `last_result`.
struct BlockSource {
    std::deque<Bytes> pieces;
    int last_result = 0;
    std::vector<int> asked;

    static int give(void* context, std::uint8_t* buffer, int count) {
        auto* source = static_cast<BlockSource*>(context);
        source->asked.push_back(count);
        if (source->pieces.empty()) return source->last_result;
        const Bytes piece = source->pieces.front();
        source->pieces.pop_front();
        std::copy(piece.begin(), piece.end(), buffer);
        return static_cast<int>(piece.size());
    }
    void attach(CodecStream& stream) {
        stream.io = give;
        stream.io_context = this;
    }
};

inline void write_to(CodecStream& stream, const Bytes& data) {
    codec_stream_write(&stream, data.data(), static_cast<int>(data.size()));
}

// `count` bytes asked for; as many as were delivered come back.
inline Bytes read_from(CodecStream& stream, int count) {
    Bytes data(static_cast<std::size_t>(count));
    const int delivered = codec_stream_read(&stream, data.data(), count);
    data.resize(delivered > 0 ? static_cast<std::size_t>(delivered) : 0);
    return data;
}

// 0, 1, 2 .. with a period of 251, a prime, so that no block looks like its neighbour.
inline Bytes counting_bytes(std::size_t count) {
    Bytes data(count);
    for (std::size_t i = 0; i < count; ++i) data[i] = static_cast<std::uint8_t>(i % 251);
    return data;
}

inline Bytes slice(const Bytes& data, std::size_t from, std::size_t count) {
    return Bytes(data.begin() + static_cast<std::ptrdiff_t>(from),
                 data.begin() + static_cast<std::ptrdiff_t>(from + count));
}

// Little-endian bytes of samples, and back.
inline Bytes pcm_bytes(const std::vector<int>& samples) {
    Bytes data;
    for (const int sample : samples) {
        data.push_back(static_cast<std::uint8_t>(sample & 0xFF));
        data.push_back(static_cast<std::uint8_t>(sample >> 8 & 0xFF));
    }
    return data;
}

inline std::vector<int> pcm_samples(const Bytes& data) {
    std::vector<int> samples;
    for (std::size_t i = 0; i + 1 < data.size(); i += 2)
        samples.push_back(static_cast<std::int16_t>(data[i] | data[i + 1] << 8));
    return samples;
}
