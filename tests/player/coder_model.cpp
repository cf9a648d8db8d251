// SPDX-License-Identifier: MIT
#include "player/coder_model.h"

#include <gsm.h>

#include <cstdio>
#include <cstdlib>
#include <string_view>

#include "codec/codec_stream.h"

namespace {

constexpr std::uint32_t pcm_tag = 0x01;
constexpr std::uint32_t gsm_tag = 0x31;
constexpr int sample_rate = 8000;
constexpr std::size_t most_bytes_handed_on = 4096;

// Its own line of the codec is not the program's.
CodecStream* quiet_coder(std::uint32_t tag) {
    const PcmFormat format = {.channels = 1, .bits_per_sample = 16, .sample_rate = sample_rate};
    std::FILE* const out = stdout;
    stdout = std::fopen("/dev/null", "w");
    CodecStream* const coder = codec_stream_create(tag, codec_mode_encode, &format, 0);
    std::fclose(stdout);
    stdout = out;
    return coder;
}

void append_text(Bytes& content, std::string_view text) {
    content.insert(content.end(), text.begin(), text.end());
}

void append_number(Bytes& content, std::size_t value, int bytes) {
    for (int i = 0; i < bytes; i++) content.push_back(static_cast<std::uint8_t>(value >> 8 * i & 255));
}

}  // namespace

const CodedFormat& coded_format(std::uint32_t tag) {
    for (const CodedFormat& format : coded_formats) {
        if (format.tag == tag) return format;
    }
    std::abort();
}

void release_codec_stream(CodecStream* stream) {
    if (stream == nullptr) return;
    if (std::string_view(stream->name) == coded_format(gsm_tag).display_name)
        gsm_destroy(static_cast<gsm>(stream->codec_private));
    else
        std::free(stream->codec_private);
    std::free(stream->ibuff);
    std::free(stream->obuff);
    std::free(stream);
}

CoderModel::CoderModel(std::uint32_t tag)
    : format_(coded_format(tag)), coder_(tag == pcm_tag ? nullptr : quiet_coder(tag)) {}

CoderModel::~CoderModel() {
    release_codec_stream(coder_);
}

void CoderModel::write(std::span<const std::uint8_t> pcm, Bytes& data) {
    for (const std::uint8_t byte : pcm) {
        if (waiting_.size() == format_.block_bytes) {
            Bytes codes(most_bytes_handed_on, 0);
            std::size_t count = waiting_.size();
            if (coder_ == nullptr)
                codes = waiting_;
            else
                count = coder_->encode(*coder_, waiting_.data(), codes.data(), static_cast<std::uint32_t>(count));
            data.insert(data.end(), codes.begin(), codes.begin() + static_cast<std::ptrdiff_t>(count));
            waiting_.clear();
        }
        waiting_.push_back(byte);
    }
}

Bytes CoderModel::wave_file(const Bytes& data) const {
    const std::size_t body = format_.tag == pcm_tag ? 16 : 18;
    const std::size_t head = 20 + body;
    const auto align = static_cast<std::size_t>(format_.align);
    Bytes content;
    append_text(content, "RIFF");
    append_number(content, data.empty() ? head : head + 8 + data.size(), 4);
    append_text(content, "WAVEfmt ");
    append_number(content, body, 4);
    append_number(content, format_.tag, 2);
    append_number(content, 1, 2);
    append_number(content, sample_rate, 4);
    append_number(content, align * sample_rate, 4);
    append_number(content, align, 2);
    append_number(content, static_cast<std::size_t>(format_.bits), 2);
    if (format_.tag != pcm_tag) append_number(content, 0, 2);
    if (data.empty()) return content;
    append_text(content, "data");
    append_number(content, data.size(), 4);
    content.insert(content.end(), data.begin(), data.end());
    return content;
}
