// SPDX-License-Identifier: MIT
// Eight numbers side by side, and the few functions of angles and powers that reach the samples.
//
// The same source is compiled once for every x86-64 (two vectors of four), once for AVX2 (one vector of eight) and, for
// the tests, once as plain arithmetic of eight single numbers. All of them do the same operations of single precision
// in the same order, none is fused and none comes from the C library, whose results depend on the processor: same
// frames, same bytes, on every machine.
//
// `ARITHMETIC` is the namespace, and so the name, of the version that is being compiled.
#pragma once

#include <algorithm>
#include <cstdint>
#include <type_traits>
#include <utility>

#ifndef PLAIN_LANES
#include <immintrin.h>
#endif

#ifndef ARITHMETIC
#define ARITHMETIC baseline
#endif

namespace ARITHMETIC {
namespace {

constexpr int lane_count = 8;

#ifdef PLAIN_LANES
#include "lanes_plain.inc"
#else
#include "lanes_vector.inc"
#endif
#include "lanes_eight.inc"

constexpr Floats lane_numbers = {0, 1, 2, 3, 4, 5, 6, 7};

// The eight numbers added up, always in this order.
inline float sum(Floats x) {
    return ((x[0] + x[4]) + (x[2] + x[6])) + ((x[1] + x[5]) + (x[3] + x[7]));
}

// a where the mask's bits are set, b elsewhere.
inline Floats select(Words mask, Floats a, Floats b) {
    return floats_of_bits((mask & bits_of(a)) | (~mask & bits_of(b)));
}

// x where the mask's bits are set, 0 elsewhere.
inline Floats keep(Words mask, Floats x) {
    return floats_of_bits(mask & bits_of(x));
}

inline Floats magnitude_of(Floats x) {
    return floats_of_bits(bits_of(x) & 0x7FFFFFFFU);
}

// Slots `first` to `first` + 7 that lie below `count`.
inline Words slots_below(int first, int count) {
    return greater(splat(static_cast<float>(count - first)), lane_numbers);
}

// step, 2 step, ... 8 step
inline Words numbered_multiples(std::uint32_t step) {
    return Words{1, 2, 3, 4, 5, 6, 7, 8} * splat(step);
}

// cos(2 pi x), x in turns: |x| at most 1/2. The error is below 1e-7.
inline Floats cosine_of_turns(Floats x) {
    const Floats t = 0.25F - magnitude_of(x);  // cos(2 pi x) = sin(2 pi t), t from -1/4 to 1/4
    const Floats u = t * t;
    return t * (6.283185280F + u * (-41.34168061F + u * (81.60247637F + u * (-76.58117264F + u * 39.75982709F))));
}

// cos and sin of phases that count 2^32 to the turn.
inline Floats cosine(Words phase) {
    return cosine_of_turns(signed_floats(phase) * 0x1p-32F);
}
inline Floats sine(Words phase) {
    return cosine(phase - 0x40000000U);
}

// The whole number next to x, for |x| below 2^22: adding 1.5 * 2^23 leaves no room for a fraction.
inline Floats nearest(Floats x) {
    constexpr float no_fraction = 0x1.8p23F;
    return (x + no_fraction) - no_fraction;
}

// 2^x for x from -126 to 126; outside, 2 to the nearer end. The error is below 2e-7 of the result.
inline Floats power_of_two(Floats x) {
    const Floats bounded = greater_of(lesser(x, splat(126.0F)), splat(-126.0F));
    const Floats whole = nearest(bounded);
    const Floats f = bounded - whole;  // -1/2 to 1/2
    const Floats series =
        1.0F + f * (0.6931471880F +
                    f * (0.2402265076F +
                         f * (0.05550357114F + f * (0.009618082557F + f * (0.001339086336F + f * 0.0001545316294F)))));
    return series * floats_of_bits((whole_numbers(whole) + 127U) << 23);
}

}  // namespace
}  // namespace ARITHMETIC
