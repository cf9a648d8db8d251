// SPDX-License-Identifier: MIT
// Eight numbers side by side, and the few functions of angles and powers that reach the samples.
//
// The same source is compiled once for every processor of a kind (two vectors of four, where it has vectors), on x86-64
// once more for AVX2 (one vector of eight) and, for the tests, once as plain arithmetic of eight single numbers. All of
// them do the same operations of single precision in the same order, none is fused and none comes from the C library,
// whose results depend on the processor: same frames, same bytes, on every machine.
//
// Eight numbers are held in parts (lane_parts.h) and not in one vector type of 32 bytes: where registers are shorter,
// GCC 12 keeps such a type in memory and compares and shuffles it number by number, at half the speed.
//
// All of it is in an unnamed namespace inside that of the version, so that no copy for one kind of processor is ever
// called on another.
#pragma once

#include <algorithm>
#include <cstdint>
#include <type_traits>
#include <utility>

#include "lanes/lane_parts.h"

namespace DECODER_VERSION {
namespace {

constexpr int lane_count = 8;
constexpr int part_lanes = sizeof(FloatPart) / sizeof(float);  // NOLINT(bugprone-sizeof-expression): 1 in plain loops
constexpr int part_count = lane_count / part_lanes;

template <class Part>
struct Eight {
    Part part[part_count];

    auto operator[](int lane) const { return lane_of(part[lane / part_lanes], lane % part_lanes); }
};

using Floats = Eight<FloatPart>;
using Words = Eight<WordPart>;

// A number that is known when the source is compiled. The library's own has functions that the linker shares.
template <int number>
struct Index {
    constexpr operator int() const { return number; }
};

// The eight numbers of which operation(0), operation(1), ... are the parts. No loop: the parts then stay in registers.
template <class Operation>
inline auto by_parts(Operation operation) {
    return [&]<int... i>(std::integer_sequence<int, i...>) {
        using Part = decltype(operation(Index<0>{}));
        return Eight<Part>{{operation(Index<i>{})...}};
    }
    (std::make_integer_sequence<int, part_count>{});
}

// Part i of an operand; a single number goes with every part.
template <class Part>
inline Part part_of(Eight<Part> x, int i) {
    return x.part[i];
}
template <class Number>
inline Number part_of(Number x, int) {
    return x;
}

template <class... Operands>
concept SomeEight = (... || (std::is_same_v<Operands, Floats> || std::is_same_v<Operands, Words>));

template <class A, class B>
requires SomeEight<A, B>
inline auto operator+(A a, B b) {
    return by_parts([&](int i) { return part_of(a, i) + part_of(b, i); });
}
template <class A, class B>
requires SomeEight<A, B>
inline auto operator-(A a, B b) {
    return by_parts([&](int i) { return part_of(a, i) - part_of(b, i); });
}
template <class A, class B>
requires SomeEight<A, B>
inline auto operator*(A a, B b) {
    return by_parts([&](int i) { return part_of(a, i) * part_of(b, i); });
}
template <class A, class B>
requires SomeEight<A, B>
inline auto operator/(A a, B b) {
    return by_parts([&](int i) { return part_of(a, i) / part_of(b, i); });
}
template <class Part>
inline Eight<Part>& operator+=(Eight<Part>& a, Eight<Part> b) {
    return a = a + b;
}

template <class B>
inline Words operator&(Words a, B b) {
    return by_parts([&](int i) { return a.part[i] & part_of(b, i); });
}
inline Words operator|(Words a, Words b) {
    return by_parts([&](int i) { return a.part[i] | b.part[i]; });
}
inline Words operator~(Words a) {
    return by_parts([&](int i) { return ~a.part[i]; });
}
inline Words operator<<(Words a, int bits) {
    return by_parts([&](int i) { return a.part[i] << bits; });
}
inline Words operator>>(Words a, int bits) {
    return by_parts([&](int i) { return a.part[i] >> bits; });
}

inline Floats splat(float x) {
    return by_parts([&](int) { return x - FloatPart{}; });
}
inline Words splat(std::uint32_t x) {
    return by_parts([&](int) { return x + WordPart{}; });
}

inline Words bits_of(Floats x) {
    return by_parts([&](int i) { return bits_of(x.part[i]); });
}
inline Floats floats_of_bits(Words x) {
    return by_parts([&](int i) { return floats_of_bits(x.part[i]); });
}

// All bits set where a is greater, none elsewhere.
inline Words greater(Floats a, Floats b) {
    return by_parts([&](int i) { return greater(a.part[i], b.part[i]); });
}
inline Floats min(Floats a, Floats b) {
    return by_parts([&](int i) { return b.part[i] > a.part[i] ? a.part[i] : b.part[i]; });
}
inline Floats max(Floats a, Floats b) {
    return by_parts([&](int i) { return a.part[i] > b.part[i] ? a.part[i] : b.part[i]; });
}

// A word counts as signed here; the second drops the fraction.
inline Floats signed_floats(Words x) {
    return by_parts([&](int i) { return signed_floats(x.part[i]); });
}
inline Words whole_numbers(Floats x) {
    return by_parts([&](int i) { return whole_numbers(x.part[i]); });
}

inline Floats sqrt(Floats x) {
    return by_parts([&](int i) { return sqrt(x.part[i]); });
}

// From and to memory of any alignment, part by part: a copy of all eight would take them out of their registers.
template <class Part, class Number>
inline Part part_at(const Number* from) {
    Part part;
    __builtin_memcpy(&part, from, sizeof part);
    return part;
}
inline Floats load(const float* from) {
    return by_parts([&](int i) { return part_at<FloatPart>(from + i * part_lanes); });
}
inline Words load(const std::uint32_t* from) {
    return by_parts([&](int i) { return part_at<WordPart>(from + i * part_lanes); });
}
inline void store(float* to, Floats x) {
    for (int i = 0; i < part_count; i++) __builtin_memcpy(to + i * part_lanes, &x.part[i], sizeof x.part[i]);
}
inline void store(std::uint32_t* to, Words x) {
    for (int i = 0; i < part_count; i++) __builtin_memcpy(to + i * part_lanes, &x.part[i], sizeof x.part[i]);
}

// The lower 16 bits of each word.
inline void store(std::int16_t* to, Words x) {
    for (int i = 0; i < part_count; i++) {
        const ShortPart part = shorts_of(x.part[i]);
        __builtin_memcpy(to + i * part_lanes, &part, sizeof part);
    }
}

// One part of a shuffle. Its lanes are those of at most two parts of a and b, as one shuffle wants it.
template <int... from>
inline FloatPart shuffle_part(Floats a, Floats b) {
    constexpr int low = std::min({from / part_lanes...});
    constexpr int high = std::max({from / part_lanes...});
    static_assert((... && (from / part_lanes == low || from / part_lanes == high)));
    const auto part = [&](int i) { return i < part_count ? a.part[i] : b.part[i - part_count]; };
    return shuffle<from % part_lanes + (from / part_lanes == low ? 0 : part_lanes)...>(part(low), part(high));
}

// Lanes by number from both: 0 to 7 are a's, 8 to 15 b's.
template <int... from>
inline Floats shuffle(Floats a, Floats b) {
    static constexpr int sources[lane_count] = {from...};
    return by_parts([&](auto i) {
        return [&]<int... lane>(std::integer_sequence<int, lane...>) {
            return shuffle_part<sources[i * part_lanes + lane]...>(a, b);
        }
        (std::make_integer_sequence<int, part_lanes>{});
    });
}

// Lane j of row i becomes lane i of row j.
inline void transpose(Floats rows[lane_count]) {
    Floats pairs[lane_count];
    for (int i = 0; i < lane_count; i += 2) {
        pairs[i] = shuffle<0, 8, 1, 9, 4, 12, 5, 13>(rows[i], rows[i + 1]);
        pairs[i + 1] = shuffle<2, 10, 3, 11, 6, 14, 7, 15>(rows[i], rows[i + 1]);
    }
    Floats fours[lane_count];
    for (int i = 0; i < lane_count; i += 4)
        for (int j = 0; j < 2; j++) {
            fours[i + 2 * j] = shuffle<0, 1, 8, 9, 4, 5, 12, 13>(pairs[i + j], pairs[i + j + 2]);
            fours[i + 2 * j + 1] = shuffle<2, 3, 10, 11, 6, 7, 14, 15>(pairs[i + j], pairs[i + j + 2]);
        }
    for (int i = 0; i < 4; i++) {
        rows[i] = shuffle<0, 1, 2, 3, 8, 9, 10, 11>(fours[i], fours[i + 4]);
        rows[i + 4] = shuffle<4, 5, 6, 7, 12, 13, 14, 15>(fours[i], fours[i + 4]);
    }
}

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
inline Floats masked(Words mask, Floats x) {
    return floats_of_bits(mask & bits_of(x));
}

inline Floats magnitude_of(Floats x) {
    return floats_of_bits(bits_of(x) & 0x7FFFFFFFU);
}

// Slots `first` to `first` + 7 that lie below `count`.
inline Words mask_below(int first, int count) {
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
    const Floats bounded = max(min(x, splat(126.0F)), splat(-126.0F));
    const Floats whole = nearest(bounded);
    const Floats f = bounded - whole;  // -1/2 to 1/2
    const Floats series =
        1.0F + f * (0.6931471880F +
                    f * (0.2402265076F +
                         f * (0.05550357114F + f * (0.009618082557F + f * (0.001339086336F + f * 0.0001545316294F)))));
    return series * floats_of_bits((whole_numbers(whole) + 127U) << 23);
}

// log2 x for ordinary x > 0: with x = 2^e m, m from sqrt(1/2) to sqrt(2), and t = (m - 1) / (m + 1),
// log2 m = 2 / ln 2 (t + t^3 / 3 + t^5 / 5 + ...). The error is below 2e-7, or 2e-7 of the result; log2 1 is 0.
inline Floats log2(Floats x) {
    constexpr std::uint32_t one = 0x3F800000;
    constexpr std::uint32_t root_of_half = 0x3F3504F3;
    const Words exponent = ((bits_of(x) + (one - root_of_half)) >> 23) - 127U;
    const Floats m = floats_of_bits(bits_of(x) - (exponent << 23));
    const Floats t = (m - 1.0F) / (m + 1.0F);
    const Floats u = t * t;
    return signed_floats(exponent) + t * (2.885390082F + u * (0.9617966939F + u * (0.5770780164F + u * 0.4121985831F)));
}

}  // namespace
}  // namespace DECODER_VERSION
