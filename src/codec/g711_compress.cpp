// SPDX-License-Identifier: MIT
#include "codec/g711_compress.h"

#include <algorithm>
#include <bit>
#include <cstdlib>

#include "codec/little_endian.h"

// QUAVER_PLAIN_G711 makes, on any processor, what is made on one without these vectors.
#if defined(__SSE2__) && !defined(QUAVER_PLAIN_G711)
#define QUAVER_G711_VECTORS
#include <emmintrin.h>
#endif

namespace {

constexpr int sign_bit = 0x80;
constexpr int ulaw_bias = 132;
constexpr int ulaw_inversion = 0xFF;
constexpr int alaw_even_steps = 16;   // each 16 wide: those of segment 0
constexpr int alaw_inversion = 0xD5;  // every other bit, and the sign

// --- one sample

// Kept: a magnitude is -s in 16 bits, so -32768 has none and codes as a negative 0.
int magnitude_of(std::int16_t sample) {
    return sample == INT16_MIN ? 0 : std::abs(sample);
}

// Segment and step of a biased magnitude from 128 on. A segment has 16 steps and is twice as wide as the one before.
int segment_and_step(int biased) {
    const int segment = static_cast<int>(std::bit_width(static_cast<unsigned>(biased))) - 8;
    // NOLINTNEXTLINE(clang-analyzer-core.UndefinedBinaryOperatorResult): the segment is 0 at least
    return segment << 4 | (biased >> (segment + 3) & 0x0F);
}

std::uint8_t code_of(std::int16_t sample, int steps, int inversion) {
    const int sign = sample < 0 ? sign_bit : 0;
    return static_cast<std::uint8_t>((sign | steps) ^ inversion);
}

#ifdef QUAVER_G711_VECTORS

// --- eight samples side by side, in the vectors that every x86-64 processor has

using Samples = __m128i;
constexpr std::uint32_t samples_at_once = 16;

inline Samples all(int value) {
    return _mm_set1_epi16(static_cast<std::int16_t>(value));
}

inline Samples load_samples(const std::uint8_t* bytes) {
    return _mm_loadu_si128(reinterpret_cast<const __m128i*>(bytes));
}

// Segment and step of biased magnitudes, below 0 for those under 128. A segment has 16 steps and is twice as wide as
// the one before: that is what the exponent and the first four fraction bits of a floating-point number say.
inline Samples segment_and_step(Samples biased) {
    constexpr int fraction_bits_below_a_step = 23 - 4;
    constexpr int exponent_of_128 = 127 + 7;
    const __m128 low = _mm_cvtepi32_ps(_mm_unpacklo_epi16(biased, _mm_setzero_si128()));
    const __m128 high = _mm_cvtepi32_ps(_mm_unpackhi_epi16(biased, _mm_setzero_si128()));
    const Samples exponent_and_step =
        _mm_packs_epi32(_mm_srli_epi32(_mm_castps_si128(low), fraction_bits_below_a_step),
                        _mm_srli_epi32(_mm_castps_si128(high), fraction_bits_below_a_step));
    return _mm_sub_epi16(exponent_and_step, all(exponent_of_128 << 4));
}

// The sum of the largest magnitudes with the bias stays at 32767, as if they were clipped to 32635.
inline Samples ulaw_steps(Samples magnitude) {
    return segment_and_step(_mm_adds_epi16(magnitude, all(ulaw_bias)));
}

// Segment 0 is no narrower than segment 1.
inline Samples alaw_steps(Samples magnitude) {
    return _mm_max_epi16(segment_and_step(magnitude),
                         _mm_min_epi16(_mm_srli_epi16(magnitude, 4), all(alaw_even_steps)));
}

// Codes without the inversion. Kept: a magnitude is -s in 16 bits, so -32768 has none and codes as a negative 0.
template <Samples steps_of(Samples magnitude)>
inline Samples signed_steps(Samples samples) {
    const Samples sign = _mm_srai_epi16(samples, 15);
    const Samples negated_if_negative = _mm_sub_epi16(_mm_xor_si128(samples, sign), sign);
    const Samples magnitude = _mm_max_epi16(negated_if_negative, _mm_setzero_si128());
    return _mm_or_si128(steps_of(magnitude), _mm_and_si128(sign, all(sign_bit)));
}

// Codes whole sixteens of samples; returns how many samples that is.
template <Samples steps_of(Samples magnitude), int inversion>
std::uint32_t compress_run(const std::uint8_t* in, std::uint8_t* out, std::uint32_t samples) {
    const std::uint32_t whole = samples - samples % samples_at_once;
    for (std::uint32_t i = 0; i < whole; i += samples_at_once) {
        const std::uint8_t* from = in + sample_bytes * i;
        const Samples first = signed_steps<steps_of>(load_samples(from));
        const Samples second = signed_steps<steps_of>(load_samples(from + sizeof first));
        const __m128i codes = _mm_xor_si128(_mm_packus_epi16(first, second), all(inversion << 8 | inversion));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(out + i), codes);
    }
    return whole;
}

#endif

}  // namespace

// The largest magnitudes count as 32635.
std::uint8_t g711_ulaw_compress(std::int16_t sample) {
    const int biased = std::min<int>(magnitude_of(sample) + ulaw_bias, INT16_MAX);
    return code_of(sample, segment_and_step(biased), ulaw_inversion);
}

std::uint8_t g711_alaw_compress(std::int16_t sample) {
    const int magnitude = magnitude_of(sample);
    const int even_step = magnitude >> 4;
    return code_of(sample, even_step < alaw_even_steps ? even_step : segment_and_step(magnitude), alaw_inversion);
}

#ifdef QUAVER_G711_VECTORS

std::uint32_t g711_ulaw_compress_run(const std::uint8_t* in, std::uint8_t* out, std::uint32_t samples) {
    return compress_run<ulaw_steps, ulaw_inversion>(in, out, samples);
}

std::uint32_t g711_alaw_compress_run(const std::uint8_t* in, std::uint8_t* out, std::uint32_t samples) {
    return compress_run<alaw_steps, alaw_inversion>(in, out, samples);
}

#else

std::uint32_t g711_ulaw_compress_run(const std::uint8_t*, std::uint8_t*, std::uint32_t) {
    return 0;
}

std::uint32_t g711_alaw_compress_run(const std::uint8_t*, std::uint8_t*, std::uint32_t) {
    return 0;
}

#endif
