// SPDX-License-Identifier: MIT
// The decoder's own noise, eight states at a time.
#include "synthesis/noise.h"

#include "lanes/lanes.h"
#include "lanes/version_functions.h"

namespace DECODER_VERSION {
namespace {

constexpr std::uint32_t multiplier = 1664525;
constexpr std::uint32_t increment = 1013904223;

// k steps at once are one step with another multiplier and increment; here for k = 1..8.
struct Jumps {
    std::uint32_t multiplier[lane_count];
    std::uint32_t increment[lane_count];
};

constexpr Jumps make_jumps() {
    Jumps jumps{};
    std::uint32_t product = 1;
    std::uint32_t offset = 0;
    for (int k = 0; k < lane_count; k++) {
        product *= multiplier;
        offset = offset * multiplier + increment;
        jumps.multiplier[k] = product;
        jumps.increment[k] = offset;
    }
    return jumps;
}

constexpr Jumps jumps = make_jumps();
constexpr std::uint32_t jump_multiplier = jumps.multiplier[lane_count - 1];
constexpr std::uint32_t jump_increment = jumps.increment[lane_count - 1];

Words first_eight(std::uint32_t state) {
    return load(jumps.multiplier) * splat(state) + load(jumps.increment);
}

Words next_eight(Words words) {
    return words * splat(jump_multiplier) + splat(jump_increment);
}

}  // namespace

void noise_words(std::uint32_t& state, std::uint32_t* words, int count) {
    Words eight = first_eight(state);
    for (int i = 0; i < count; i += lane_count) {
        store(words + i, eight);
        state = eight[lane_count - 1];
        eight = next_eight(eight);
    }
}

void noise_samples(std::uint32_t& state, float* samples, int count) {
    Words eight = first_eight(state);
    for (int i = 0; i < count; i += lane_count) {
        store(samples + i, signed_floats(eight) * 0x1p-31F);
        state = eight[lane_count - 1];
        eight = next_eight(eight);
    }
}

}  // namespace DECODER_VERSION
