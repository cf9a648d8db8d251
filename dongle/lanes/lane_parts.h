// SPDX-License-Identifier: MIT
// A part of eight numbers: as many as one instruction takes, and what is done to them lane by lane.
//
// A part is a vector register of the processor: eight numbers with AVX2, four elsewhere. With PLAIN_LANES it is a
// single number: that version is the reference of the tests. All of it is written for any processor, in the vector
// types of the compiler; the roots alone, for which the compiler has no word, have an instruction of their own on
// x86-64. PORTABLE_LANES leaves that out, so that what other processors run is tested here as well.
#pragma once

#include <cstdint>

#ifndef DECODER_VERSION
#error "lane_parts.h is for the sources of one version of the decoder"
#endif

#if defined(__SSE2__) && !defined(PLAIN_LANES) && !defined(PORTABLE_LANES)
#define X86_ROOTS
#include <immintrin.h>
#endif

namespace DECODER_VERSION {
namespace {

#ifdef PLAIN_LANES

using FloatPart = float;
using WordPart = std::uint32_t;
using ShortPart = std::int16_t;

inline float lane_of(float part, int) {
    return part;
}
inline std::uint32_t lane_of(std::uint32_t part, int) {
    return part;
}

inline std::uint32_t bits_of(float x) {
    return __builtin_bit_cast(std::uint32_t, x);
}
inline float floats_of_bits(std::uint32_t x) {
    return __builtin_bit_cast(float, x);
}
inline std::uint32_t greater(float a, float b) {
    return a > b ? ~0U : 0U;
}
inline float signed_floats(std::uint32_t x) {
    return static_cast<float>(static_cast<std::int32_t>(x));
}
inline std::uint32_t whole_numbers(float x) {
    return static_cast<std::uint32_t>(static_cast<std::int32_t>(x));
}
inline std::int16_t shorts_of(std::uint32_t x) {
    return static_cast<std::int16_t>(x);
}
inline float sqrt(float x) {
    return __builtin_sqrtf(x);
}

// Of parts of one lane both are the same.
template <int>
inline float shuffle(float a, float) {
    return a;
}

#else

#ifdef __AVX2__
constexpr int register_bytes = 32;
#else
constexpr int register_bytes = 16;
#endif

using FloatPart = float __attribute__((vector_size(register_bytes)));
using WordPart = std::uint32_t __attribute__((vector_size(register_bytes)));
using SignedPart = std::int32_t __attribute__((vector_size(register_bytes)));
using ShortPart = std::int16_t __attribute__((vector_size(register_bytes / 2)));

inline float lane_of(FloatPart part, int lane) {
    return part[lane];
}
inline std::uint32_t lane_of(WordPart part, int lane) {
    return part[lane];
}

inline WordPart bits_of(FloatPart x) {
    return reinterpret_cast<WordPart>(x);
}
inline FloatPart floats_of_bits(WordPart x) {
    return reinterpret_cast<FloatPart>(x);
}
inline WordPart greater(FloatPart a, FloatPart b) {
    return reinterpret_cast<WordPart>(a > b);
}
inline FloatPart signed_floats(WordPart x) {
    return __builtin_convertvector(reinterpret_cast<SignedPart>(x), FloatPart);
}
inline WordPart whole_numbers(FloatPart x) {
    return reinterpret_cast<WordPart>(__builtin_convertvector(x, SignedPart));
}
inline ShortPart shorts_of(WordPart x) {
    return __builtin_convertvector(reinterpret_cast<SignedPart>(x), ShortPart);
}

#if !defined(X86_ROOTS)
inline FloatPart sqrt(FloatPart x) {
    for (int lane = 0; lane < register_bytes / 4; lane++) x[lane] = __builtin_sqrtf(x[lane]);
    return x;
}
#elif defined(__AVX2__)
inline FloatPart sqrt(FloatPart x) {
    return _mm256_sqrt_ps(x);
}
#else
inline FloatPart sqrt(FloatPart x) {
    return _mm_sqrt_ps(x);
}
#endif

template <int... from>
inline FloatPart shuffle(FloatPart a, FloatPart b) {
    return __builtin_shufflevector(a, b, from...);
}

#endif

}  // namespace
}  // namespace DECODER_VERSION
