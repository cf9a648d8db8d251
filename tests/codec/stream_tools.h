// SPDX-License-Identifier: MIT
// Codec streams that a test can own, and the two ends of their callback.
#pragma once

#include <cmath>
#include <cstdint>
#include <deque>
#include <vector>

#include "codec/codec_stream.h"
#include "support/bytes.h"
#include "support/capture.h"
#include "support/stream_release.h"

constexpr std::uint32_t linear_pcm = 0x0001;
constexpr std::uint32_t g711_alaw = 0x0006;
constexpr std::uint32_t g711_ulaw = 0x0007;
constexpr std::uint32_t ima_adpcm = 0x0011;
constexpr std::uint32_t gsm0610 = 0x0031;

constexpr int mode_encode = 1;
constexpr int mode_decode = 0;

constexpr PcmFormat telephone_pcm = {1, 16, 8000};

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
    BlockSink() = default;
    explicit BlockSink(const StreamPtr& stream) { attach(*stream); }

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
    explicit BlockSource(const StreamPtr& stream, const std::deque<Bytes>& given = {}, int at_end = 0)
        : pieces(given), last_result(at_end) {
        stream->io = give;
        stream->io_context = this;
    }

    std::deque<Bytes> pieces;
    int last_result;
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

// How far what is heard follows the samples.
inline double signal_to_noise_db(const std::vector<int>& samples, const std::vector<int>& heard) {
    double signal = 0;
    double noise = 0;
    for (std::size_t i = 0; i < samples.size(); ++i) {
        signal += std::pow(samples[i], 2);
        noise += std::pow(samples[i] - heard.at(i), 2);
    }
    return 10 * std::log10(signal / noise);
}
