// SPDX-License-Identifier: MIT
// 16-bit samples in a byte stream, low byte first, on a machine that keeps them the same way.
#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>

static_assert(std::endian::native == std::endian::little);

constexpr std::uint32_t sample_bytes = 2;

// Whole samples in `count` bytes: a last odd byte counts as one more, no bytes are no samples.
constexpr std::uint32_t samples_in(std::uint32_t count) {
    return count / sample_bytes + count % sample_bytes;
}

inline std::int16_t load_sample(const std::uint8_t* bytes) {
    std::int16_t sample;
    std::memcpy(&sample, bytes, sizeof sample);
    return sample;
}

inline void store_sample(std::uint8_t* bytes, std::int16_t sample) {
    std::memcpy(bytes, &sample, sizeof sample);
}
