// SPDX-License-Identifier: MIT
#include "program/recordings.h"

#include <algorithm>

namespace {

constexpr std::size_t uninterpreted_record_bytes = 15;

std::uint8_t mirrored_byte(std::uint8_t byte) {
    unsigned result = 0;
    for (unsigned bit = 0; bit < 8; bit++) result = result << 1 | (byte >> bit & 1U);
    return static_cast<std::uint8_t>(result);
}

}  // namespace

Bytes operator+(Bytes first, const Bytes& second) {
    first.insert(first.end(), second.begin(), second.end());
    return first;
}

Bytes zeros(std::size_t count) {
    return Bytes(count, 0);
}

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

Bytes mirrored(const Bytes& content) {
    Bytes result(content.size());
    std::transform(content.begin(), content.end(), result.begin(), mirrored_byte);
    return result;
}

Bytes raw_recording(const std::vector<Bytes>& frames) {
    Bytes content;
    for (const Bytes& frame : frames) content.insert(content.end(), frame.begin(), frame.end());
    return content;
}

Bytes dvtool_header() {
    return bytes({'D', 'V', 'T', 'O', 'O', 'L', 0, 0x11, 0x22, 0x33});
}

Bytes with_length(const Bytes& content) {
    return low_first_2(static_cast<unsigned>(content.size())) + content;
}

Bytes dvtool_recording(const std::vector<Bytes>& records) {
    Bytes content = dvtool_header() + with_length(bytes({0xF1, 0xF2, 0xF3, 0xF4}));
    for (const Bytes& record : records) content = content + with_length(record);
    return content;
}

Bytes record(const Bytes& frame) {
    Bytes content;
    for (std::size_t i = 0; i < uninterpreted_record_bytes; i++) content.push_back(static_cast<std::uint8_t>(0x60 + i));
    return content + frame;
}

Bytes samples_to_bytes(const std::vector<std::int16_t>& samples) {
    Bytes content;
    for (const std::int16_t sample : samples) {
        content.push_back(static_cast<std::uint8_t>(sample & 255));
        content.push_back(static_cast<std::uint8_t>(sample >> 8 & 255));
    }
    return content;
}

std::vector<std::int16_t> bytes_to_samples(const Bytes& content) {
    std::vector<std::int16_t> samples;
    for (std::size_t i = 0; i + 1 < content.size(); i += 2) {
        samples.push_back(static_cast<std::int16_t>(content[i] | content[i + 1] << 8));
    }
    return samples;
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
    return samples_to_bytes(test_samples(count * block_bytes / 2));
}

Bytes first_bytes(const Bytes& content, std::size_t count) {
    return Bytes(content.begin(), content.begin() + static_cast<std::ptrdiff_t>(std::min(count, content.size())));
}

Bytes from_byte(const Bytes& content, std::size_t offset) {
    return Bytes(content.begin() + static_cast<std::ptrdiff_t>(std::min(offset, content.size())), content.end());
}

Bytes low_first_2(unsigned value) {
    return {static_cast<std::uint8_t>(value & 255), static_cast<std::uint8_t>(value >> 8 & 255)};
}

Bytes low_first_4(unsigned value) {
    return low_first_2(value & 0xFFFF) + low_first_2(value >> 16);
}
