// SPDX-License-Identifier: MIT
#include "player/coder_model.h"

#include <cstdio>
#include <cstdlib>

#include "codec/codec_stream.h"

namespace {

constexpr std::uint32_t pcm_tag = 0x01;
constexpr unsigned sample_rate = 8000;
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

}  // namespace

const CodedFormat& coded_format(std::uint32_t tag) {
    for (const CodedFormat& format : coded_formats) {
        if (format.tag == tag) return format;
    }
    std::abort();
}

CoderModel::CoderModel(std::uint32_t tag)
    : format_(coded_format(tag)),
      coder_(tag == pcm_tag ? nullptr : quiet_coder(tag)),
      stream_{.block_bytes = format_.block_bytes} {}

void CoderModel::write(std::span<const std::uint8_t> pcm, Bytes& data) {
    const Bytes blocks = stream_.hands_on(Bytes(pcm.begin(), pcm.end()));
    for (std::size_t from = 0; from < blocks.size(); from += format_.block_bytes) {
        const Bytes block = slice(blocks, from, format_.block_bytes);
        Bytes codes = block;
        if (coder_ != nullptr) {
            codes.assign(most_bytes_handed_on, 0);
            const auto count = static_cast<std::uint32_t>(block.size());
            codes.resize(coder_->encode(*coder_, block.data(), codes.data(), count));
        }
        data.insert(data.end(), codes.begin(), codes.end());
    }
}

Bytes CoderModel::wave_file(const Bytes& data) const {
    if (format_.tag == pcm_tag) return pcm_file(data);
    const auto align = static_cast<unsigned>(format_.align);
    return coded_file({format_.tag, align * sample_rate, align, static_cast<unsigned>(format_.bits)}, data);
}
