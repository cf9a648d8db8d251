// SPDX-License-Identifier: MIT
// Byte strings as the tests need them: literals, pieces, numbers and samples as files hold them.
#pragma once

#include <cstdint>
#include <initializer_list>
#include <string>
#include <vector>

using Bytes = std::vector<std::uint8_t>;

Bytes bytes(std::initializer_list<int> values);
Bytes bytes_of(const std::string& text);
Bytes zeros(std::size_t count);
// 0, 1, 2 .. with a period of 251, a prime, so that no block looks like its neighbour.
Bytes counting_bytes(std::size_t count);

Bytes operator+(Bytes first, const Bytes& second);
// Fewer bytes where the content ends.
Bytes first_bytes(const Bytes& content, std::size_t count);
Bytes from_byte(const Bytes& content, std::size_t offset);
Bytes slice(const Bytes& content, std::size_t offset, std::size_t count);

// A number as a file holds it, low byte first.
Bytes low_first_2(unsigned value);
Bytes low_first_4(unsigned value);

// Samples as linear PCM holds them: 16 bits, low byte first.
template <typename Sample>
Bytes pcm_bytes(const std::vector<Sample>& samples) {
    Bytes content;
    for (const int sample : samples) {
        content.push_back(static_cast<std::uint8_t>(sample & 0xFF));
        content.push_back(static_cast<std::uint8_t>(sample >> 8 & 0xFF));
    }
    return content;
}
inline Bytes pcm_bytes(std::initializer_list<int> samples) {
    return pcm_bytes(std::vector<int>(samples));
}

template <typename Sample = int>
std::vector<Sample> pcm_samples(const Bytes& content) {
    std::vector<Sample> samples;
    for (std::size_t i = 0; i + 1 < content.size(); i += 2)
        samples.push_back(static_cast<std::int16_t>(content[i] | content[i + 1] << 8));
    return samples;
}

// Two lower-case digits a byte.
inline std::string hex(const std::uint8_t* content, std::size_t count) {
    std::string text;
    for (std::size_t i = 0; i < count; i++) {
        text += "0123456789abcdef"[content[i] >> 4];
        text += "0123456789abcdef"[content[i] & 15];
    }
    return text;
}
inline std::string hex(const Bytes& content) {
    return hex(content.data(), content.size());
}
Bytes unhex(const std::string& text);
