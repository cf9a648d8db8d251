// SPDX-License-Identifier: MIT
// G.711 A-law and u-law: one pair of operations over the maps of either law, and the rules that the maps hold.
#include "codec/g711.h"

#include <emmintrin.h>

#include <cstdio>
#include <cstdlib>

#include "codec/codec_table.h"
#include "codec/little_endian.h"

namespace {

constexpr std::int16_t coded_block_bytes = 1024;
constexpr std::int16_t pcm_block_bytes = 2048;
constexpr std::int16_t coded_bits = 8;
constexpr std::int16_t pcm_bits = 16;

constexpr unsigned code_count = 256;
constexpr unsigned sample_count = 65536;

constexpr int sign_bit = 0x80;
constexpr int segment_mask = 0x70;
constexpr int mantissa_mask = 0x0F;

constexpr int ulaw_bias = 132;
constexpr std::uint8_t ulaw_silence = 0xFF;
constexpr int ulaw_inversion = 0xFF;
constexpr int alaw_even_steps = 16;          // each 16 wide: those of segment 0
constexpr int alaw_encode_inversion = 0xD5;  // every other bit, and the sign
constexpr int alaw_decode_inversion = 0x55;  // every other bit

// A law's maps, null until its first init, and the two rules that they are built from.
struct Law {
    std::uint8_t* encode_map;
    std::int16_t* decode_map;
    std::uint32_t (*compress)(const std::uint8_t* in, std::uint8_t* out, std::uint32_t samples);
    std::int16_t (*expand)(std::uint8_t code);
};

// Eight samples side by side, in the vectors that every x86-64 processor has.
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

// Codes whole sixteens of samples; returns how many samples that were.
template <Samples steps_of(Samples magnitude), int inversion>
std::uint32_t compress(const std::uint8_t* in, std::uint8_t* out, std::uint32_t samples) {
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

// Kept: 16 times the mantissa + 256, where the recommendation has 8 times the mantissa + 132, and the wrap in 16 bits.
std::int16_t ulaw_expand(std::uint8_t code) {
    const int inverted = ~code & 0xFF;
    const int segment = (inverted & segment_mask) >> 4;
    const int expanded = ((inverted & mantissa_mask) * 16 + 256) << segment;
    const bool negative = (inverted & sign_bit) != 0;
    return static_cast<std::int16_t>(negative ? ulaw_bias - expanded : expanded - ulaw_bias);
}

std::int16_t alaw_expand(std::uint8_t code) {
    const int uninverted = code ^ alaw_decode_inversion;
    const int step = (uninverted & mantissa_mask) * 16;
    const int segment = (uninverted & segment_mask) >> 4;
    const int expanded = segment == 0 ? step + 8 : (step + 264) << (segment - 1);
    const bool positive = (uninverted & sign_bit) != 0;
    return static_cast<std::int16_t>(positive ? expanded : -expanded);
}

Law alaw = {nullptr, nullptr, compress<alaw_steps, alaw_encode_inversion>, alaw_expand};
Law ulaw = {nullptr, nullptr, compress<ulaw_steps, ulaw_inversion>, ulaw_expand};

int build_encode_map(Law& law) {
    if (law.encode_map != nullptr) return 0;
    law.encode_map = static_cast<std::uint8_t*>(malloc(sample_count));
    if (law.encode_map == nullptr) {
        std::fputs("Out of memory for LAW Encode Map !\n", stderr);
        return -1;
    }
    for (unsigned index = 0; index < sample_count; index += samples_at_once) {
        std::uint8_t samples[sample_bytes * samples_at_once];
        for (unsigned i = 0; i < samples_at_once; ++i)
            store_sample(samples + sample_bytes * i, static_cast<std::int16_t>(index + i));
        law.compress(samples, law.encode_map + index, samples_at_once);
    }
    return 0;
}

int build_decode_map(Law& law) {
    if (law.decode_map != nullptr) return 0;
    law.decode_map = static_cast<std::int16_t*>(malloc(code_count * sizeof(std::int16_t)));
    if (law.decode_map == nullptr) {
        std::fputs("Out of memory for LAW Decode Map !\n", stderr);
        return -1;
    }
    for (unsigned code = 0; code < code_count; ++code)
        law.decode_map[code] = law.expand(static_cast<std::uint8_t>(code));
    return 0;
}

// The private block, stored in the stream; it stays there when a map cannot be had.
G711State* allocate_state(CodecStream& stream) {
    auto* state = static_cast<G711State*>(calloc(1, sizeof(G711State)));
    if (state == nullptr) std::fputs("Out of memory for LAW CB !\n", stderr);
    stream.codec_private = state;
    return state;
}

// Each byte becomes a sample, low byte first; returns 2 x count.
std::uint32_t g711_decode(CodecStream& stream, const std::uint8_t* in, std::uint8_t* out, std::uint32_t count) {
    const std::int16_t* map = static_cast<const G711State*>(stream.codec_private)->decode_map;
    for (std::uint32_t i = 0; i < count; ++i) store_sample(out + sample_bytes * i, map[in[i]]);
    return count * sample_bytes;
}

// Each sample becomes a byte, the map's; returns the number of samples. Most are compressed on the spot, which takes
// half the time of a look-up in 64 KB. Kept: of an odd count the last sample reads one byte more.
std::uint32_t g711_encode(CodecStream& stream, const std::uint8_t* in, std::uint8_t* out, std::uint32_t count) {
    const std::uint8_t* map = static_cast<const G711State*>(stream.codec_private)->encode_map;
    const Law& law = map == ulaw.encode_map ? ulaw : alaw;
    const std::uint32_t samples = samples_in(count);
    for (std::uint32_t i = law.compress(in, out, samples); i < samples; ++i)
        out[i] = map[static_cast<std::uint16_t>(load_sample(in + sample_bytes * i))];
    return samples;
}

int g711_init(CodecStream& stream, int mode, Law& law) {
    codec_print_line(stream);
    G711State* state = allocate_state(stream);
    if (state == nullptr) return -1;
    if (build_encode_map(law) < 0) return -1;
    if (build_decode_map(law) < 0) return -1;
    *state = {law.decode_map, law.encode_map};

    const bool encoding = mode == codec_mode_encode;
    stream.encode = g711_encode;
    stream.decode = g711_decode;
    stream.ibuff_size = encoding ? pcm_block_bytes : coded_block_bytes;
    stream.obuff_size = encoding ? coded_block_bytes : pcm_block_bytes;
    stream.output_format.bits_per_sample = encoding ? coded_bits : pcm_bits;
    return 0;
}

}  // namespace

int g711_alaw_init(CodecStream& stream, int mode) {
    return g711_init(stream, mode, alaw);
}
int g711_ulaw_init(CodecStream& stream, int mode) {
    return g711_init(stream, mode, ulaw);
}

std::uint8_t g711_ulaw_encode_sample(std::int16_t sample) {
    return ulaw.encode_map != nullptr ? ulaw.encode_map[static_cast<std::uint16_t>(sample)] : ulaw_silence;
}

std::int16_t g711_ulaw_decode_sample(std::uint8_t code) {
    return ulaw.decode_map != nullptr ? ulaw.decode_map[code] : std::int16_t{0};
}
