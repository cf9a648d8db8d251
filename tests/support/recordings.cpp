// SPDX-License-Identifier: MIT
#include "support/recordings.h"

#include <algorithm>

namespace {

constexpr std::size_t uninterpreted_record_bytes = 15;

std::uint8_t reversed_byte(std::uint8_t byte) {
    unsigned result = 0;
    for (unsigned bit = 0; bit < 8; bit++) result = result << 1 | (byte >> bit & 1U);
    return static_cast<std::uint8_t>(result);
}

}  // namespace

Bytes frame(int number) {
    Bytes content = {static_cast<std::uint8_t>(number)};
    for (unsigned i = 1; i < frame_bytes; i++) content.push_back(static_cast<std::uint8_t>(0xA0 + i));
    return content;
}

std::vector<Bytes> frames(int count) {
    std::vector<Bytes> result;
    for (int number = 1; number <= count; number++) result.push_back(frame(number));
    return result;
}

Bytes reversed(const Bytes& content) {
    Bytes result(content.size());
    std::transform(content.begin(), content.end(), result.begin(), reversed_byte);
    return result;
}

Bytes raw_recording(const std::vector<Bytes>& frames) {
    Bytes content;
    for (const Bytes& frame : frames) content.insert(content.end(), frame.begin(), frame.end());
    return content;
}

Bytes dvtool_header() {
    return bytes_of("DVTOOL") + bytes({0, 0x11, 0x22, 0x33});
}

Bytes with_length(const Bytes& content) {
    return low_first_2(static_cast<unsigned>(content.size())) + content;
}

Bytes dvtool_recording(const std::vector<Bytes>& records) {
    Bytes content = dvtool_header() + with_length(bytes({0xF1, 0xF2, 0xF3, 0xF4}));
    for (const Bytes& record : records) {
        const Bytes more = with_length(record);
        content.insert(content.end(), more.begin(), more.end());
    }
    return content;
}

Bytes record(const Bytes& frame) {
    Bytes content;
    for (std::size_t i = 0; i < uninterpreted_record_bytes; i++) content.push_back(static_cast<std::uint8_t>(0x60 + i));
    return content + frame;
}

std::vector<std::int16_t> test_samples(std::size_t count) {
    std::vector<std::int16_t> samples;
    std::uint32_t noise = 1;
    for (std::size_t i = 0; i < count; i++) {
        noise = noise * 1664525 + 1013904223;  // Numerical Recipes' linear congruential generator
        const int triangle = static_cast<int>(i % 80) * 300 - 12000;
        const int sample = i % 997 == 500 ? 32767 : triangle + static_cast<int>(noise >> 20) - 2048;
        samples.push_back(static_cast<std::int16_t>(sample));
    }
    return samples;
}

Bytes test_blocks(std::size_t count) {
    return pcm_bytes(test_samples(count * block_bytes / 2));
}
