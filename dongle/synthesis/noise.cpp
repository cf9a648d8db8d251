// SPDX-License-Identifier: MIT
// The decoder's own noise, eight states at a time.
#include "synthesis/noise.h"

#include "lanes/lanes.h"
#include "lanes/version_functions.h"

namespace DECODER_VERSION {
namespace {

constexpr std::uint32_t multiplier = 1664525;
constexpr std::uint32_t increment = 1013904223;

// k steps at once are one step with another multiplier and increment.
struct Jumps {
    std::uint32_t multiplier[most_noise_words];
    std::uint32_t increment[most_noise_words];
};

constexpr Jumps make_jumps() {
    Jumps jumps{};
    std::uint32_t product = 1;
    std::uint32_t offset = 0;
    for (int k = 0; k < most_noise_words; k++) {
        product *= multiplier;
        offset = offset * multiplier + increment;
        jumps.multiplier[k] = product;
        jumps.increment[k] = offset;
    }
    return jumps;
}

alignas(32) constexpr Jumps jumps = make_jumps();

}  // namespace

void noise_words(std::uint32_t& state, std::uint32_t* words, int count) {
    const Words from = splat(state);
    for (int i = 0; i < count; i += lane_count)
        store(words + i, load(jumps.multiplier + i) * from + load(jumps.increment + i));
    state = words[count - 1];
}

}  // namespace DECODER_VERSION
