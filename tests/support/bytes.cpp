// SPDX-License-Identifier: MIT
#include "support/bytes.h"

#include <algorithm>

Bytes bytes(std::initializer_list<int> values) {
    Bytes result;
    for (const int value : values) result.push_back(static_cast<std::uint8_t>(value));
    return result;
}

Bytes bytes_of(const std::string& text) {
    const auto* first = reinterpret_cast<const std::uint8_t*>(text.data());
    return Bytes(first, first + text.size());
}

Bytes zeros(std::size_t count) {
    return Bytes(count, 0);
}

Bytes counting_bytes(std::size_t count) {
    Bytes content(count);
    for (std::size_t i = 0; i < count; i++) content[i] = static_cast<std::uint8_t>(i % 251);
    return content;
}

Bytes operator+(Bytes first, const Bytes& second) {
    first.insert(first.end(), second.begin(), second.end());
    return first;
}

Bytes first_bytes(const Bytes& content, std::size_t count) {
    return Bytes(content.begin(), content.begin() + static_cast<std::ptrdiff_t>(std::min(count, content.size())));
}

Bytes from_byte(const Bytes& content, std::size_t offset) {
    return Bytes(content.begin() + static_cast<std::ptrdiff_t>(std::min(offset, content.size())), content.end());
}

Bytes slice(const Bytes& content, std::size_t offset, std::size_t count) {
    return first_bytes(from_byte(content, offset), count);
}

Bytes low_first_2(unsigned value) {
    return {static_cast<std::uint8_t>(value & 255), static_cast<std::uint8_t>(value >> 8 & 255)};
}

Bytes low_first_4(unsigned value) {
    return low_first_2(value & 0xFFFF) + low_first_2(value >> 16);
}

Bytes unhex(const std::string& text) {
    Bytes content;
    for (std::size_t i = 0; i + 1 < text.size(); i += 2)
        content.push_back(static_cast<std::uint8_t>(std::stoi(text.substr(i, 2), nullptr, 16)));
    return content;
}
