// SPDX-License-Identifier: MIT
#include "support/wave.h"

Bytes chunk_stating(const std::string& id, unsigned size, const Bytes& body) {
    return bytes_of(id) + low_first_4(size) + body;
}

Bytes outer_header(unsigned size) {
    return chunk_stating("RIFF", size, bytes_of("WAVE"));
}

Bytes chunk(const std::string& id, const Bytes& body) {
    return chunk_stating(id, static_cast<unsigned>(body.size()), body);
}

Bytes wave_file(const Bytes& chunks) {
    return chunk("RIFF", bytes_of("WAVE") + chunks);
}

Bytes wave_head(unsigned outer_size) {
    return outer_header(outer_size) + chunk("fmt ", bytes({0x01, 0x00, 0x01, 0x00, 0x40, 0x1F, 0x00, 0x00,  //
                                                           0x80, 0x3E, 0x00, 0x00, 0x02, 0x00, 0x10, 0x00}));
}

Bytes data_head(unsigned size) {
    return chunk_stating("data", size, {});
}

Bytes pcm_head(std::size_t data) {
    return wave_head(static_cast<unsigned>(44 + data)) + data_head(static_cast<unsigned>(data));
}

Bytes coded_file(const CodedHead& head, const Bytes& data) {
    const Bytes body = data.empty() ? Bytes{} : chunk("data", data);
    return chunk_stating("RIFF", static_cast<unsigned>(38 + body.size()), bytes_of("WAVE")) +
           chunk("fmt ", low_first_2(head.tag) + low_first_2(1) + low_first_4(8000) + low_first_4(head.byte_rate) +
                             low_first_2(head.block_align) + low_first_2(head.bits) + low_first_2(0)) +
           body;
}

Bytes pcm_file(const Bytes& audio) {
    return audio.empty() ? wave_head(36) : pcm_head(audio.size()) + audio;
}

Bytes StreamModel::hands_on(const Bytes& audio) {
    Bytes out;
    for (const std::uint8_t byte : audio) {
        if (waiting.size() == block_bytes) {
            out.insert(out.end(), waiting.begin(), waiting.end());
            waiting.clear();
        }
        waiting.push_back(byte);
    }
    return out;
}
