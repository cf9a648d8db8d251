// SPDX-License-Identifier: MIT
// G.711 A-law and u-law: one pair of operations over the maps of either law.
#include "codec/g711.h"

#include <bit>
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
constexpr int top_segment_bit = 0x4000;  // bit 14 of a magnitude puts it into segment 7

constexpr int ulaw_bias = 132;
constexpr int ulaw_clip = 32635;
constexpr std::uint8_t ulaw_silence = 0xFF;
constexpr int alaw_encode_inversion = 0xD5;  // every other bit, and the sign
constexpr int alaw_decode_inversion = 0x55;  // every other bit

// A law's maps, null until its first init, and the two rules that they are built from.
struct Law {
    std::uint8_t* encode_map;
    std::int16_t* decode_map;
    std::uint8_t (*compress)(std::int16_t sample);
    std::int16_t (*expand)(std::uint8_t code);
};

std::uint8_t alaw_compress(std::int16_t sample);
std::uint8_t ulaw_compress(std::int16_t sample);
std::int16_t alaw_expand(std::uint8_t code);
std::int16_t ulaw_expand(std::uint8_t code);

Law alaw = {nullptr, nullptr, alaw_compress, alaw_expand};
Law ulaw = {nullptr, nullptr, ulaw_compress, ulaw_expand};

// Kept: the magnitude of a negative sample is -s in 16 bits, so -32768 stays as it is.
std::int16_t magnitude_of(std::int16_t sample) {
    return static_cast<std::int16_t>(sample < 0 ? -sample : sample);
}

// The highest bit set among bits 13 down to `lowest`, or `none`.
int highest_bit(int value, int lowest, int none) {
    const auto bits = static_cast<unsigned>(value) & 0x3FFFu & (~0u << lowest);
    return bits != 0 ? static_cast<int>(std::bit_width(bits)) - 1 : none;
}

std::uint8_t ulaw_compress(std::int16_t sample) {
    const int sign = sample < 0 ? sign_bit : 0;
    const int clipped = magnitude_of(sample) > ulaw_clip ? ulaw_clip : magnitude_of(sample);
    const auto biased = static_cast<std::int16_t>(clipped + ulaw_bias);
    const int exponent = (biased & top_segment_bit) != 0 ? 7 : highest_bit(biased, 7, 7) - 7;
    const int mantissa = (biased >> (exponent + 3)) & mantissa_mask;
    return static_cast<std::uint8_t>(~(sign | exponent << 4 | mantissa));
}

// Kept: 16 times the mantissa + 256, where the recommendation has 8 times the mantissa + 132, and the wrap in 16 bits.
std::int16_t ulaw_expand(std::uint8_t code) {
    const int inverted = ~code & 0xFF;
    const int segment = (inverted & segment_mask) >> 4;
    const int expanded = ((inverted & mantissa_mask) * 16 + 256) << segment;
    const bool negative = (inverted & sign_bit) != 0;
    return static_cast<std::int16_t>(negative ? ulaw_bias - expanded : expanded - ulaw_bias);
}

std::uint8_t alaw_compress(std::int16_t sample) {
    const int sign = sample < 0 ? sign_bit : 0;
    const int magnitude = magnitude_of(sample);
    const int segment = (magnitude & top_segment_bit) != 0 ? 7 : highest_bit(magnitude, 8, 7) - 7;
    const int shift = segment == 0 ? 4 : segment + 3;
    const int mantissa = (magnitude >> shift) & mantissa_mask;
    return static_cast<std::uint8_t>((sign | segment << 4 | mantissa) ^ alaw_encode_inversion);
}

std::int16_t alaw_expand(std::uint8_t code) {
    const int uninverted = code ^ alaw_decode_inversion;
    const int step = (uninverted & mantissa_mask) * 16;
    const int segment = (uninverted & segment_mask) >> 4;
    const int expanded = segment == 0 ? step + 8 : (step + 264) << (segment - 1);
    const bool positive = (uninverted & sign_bit) != 0;
    return static_cast<std::int16_t>(positive ? expanded : -expanded);
}

int build_encode_map(Law& law) {
    if (law.encode_map != nullptr) return 0;
    law.encode_map = static_cast<std::uint8_t*>(malloc(sample_count));
    if (law.encode_map == nullptr) {
        std::fputs("Out of memory for LAW Encode Map !\n", stderr);
        return -1;
    }
    for (unsigned index = 0; index < sample_count; ++index)
        law.encode_map[index] = law.compress(static_cast<std::int16_t>(index));
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

// Each sample becomes a byte; returns the number of samples. Kept: of an odd count the last sample reads one byte more.
std::uint32_t g711_encode(CodecStream& stream, const std::uint8_t* in, std::uint8_t* out, std::uint32_t count) {
    const std::uint8_t* map = static_cast<const G711State*>(stream.codec_private)->encode_map;
    const std::uint32_t samples = samples_in(count);
// Unrolled: a look-up is so short that the loop itself would cost a fifth of the time.
#pragma GCC unroll 8
    for (std::uint32_t i = 0; i < samples; ++i)
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
