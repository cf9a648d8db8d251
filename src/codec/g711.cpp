// SPDX-License-Identifier: MIT
#include "codec/g711.h"

#include <cstdio>
#include <cstdlib>

#include "codec/codec_init.h"
#include "codec/g711_compress.h"
#include "codec/little_endian.h"

namespace {

constexpr std::int16_t coded_block_bytes = 1024;
constexpr std::int16_t pcm_block_bytes = 2048;
constexpr std::int16_t coded_bits = 8;

constexpr unsigned code_count = 256;
constexpr unsigned sample_count = 65536;

constexpr int sign_bit = 0x80;
constexpr int segment_mask = 0x70;
constexpr int mantissa_mask = 0x0F;

constexpr int ulaw_bias = 132;
constexpr std::uint8_t ulaw_silence = 0xFF;
constexpr int alaw_inversion = 0x55;  // every other bit
constexpr unsigned map_run = 16;      // samples that are coded at once where that can be done

// A law's maps, null until its first init, and the rules that they are built from.
struct Law {
    std::uint8_t* encode_map;
    std::int16_t* decode_map;
    std::uint8_t (*compress)(std::int16_t sample);
    std::uint32_t (*compress_run)(const std::uint8_t* in, std::uint8_t* out, std::uint32_t samples);
    std::int16_t (*expand)(std::uint8_t code);
};

// Kept: 16 times the mantissa + 256, where the recommendation has 8 times the mantissa + 132, and the wrap in 16 bits.
std::int16_t ulaw_expand(std::uint8_t code) {
    const int inverted = ~code & 0xFF;
    const int segment = (inverted & segment_mask) >> 4;
    const int expanded = ((inverted & mantissa_mask) * 16 + 256) << segment;
    const bool negative = (inverted & sign_bit) != 0;
    return static_cast<std::int16_t>(negative ? ulaw_bias - expanded : expanded - ulaw_bias);
}

std::int16_t alaw_expand(std::uint8_t code) {
    const int uninverted = code ^ alaw_inversion;
    const int step = (uninverted & mantissa_mask) * 16;
    const int segment = (uninverted & segment_mask) >> 4;
    const int expanded = segment == 0 ? step + 8 : (step + 264) << (segment - 1);
    const bool positive = (uninverted & sign_bit) != 0;
    return static_cast<std::int16_t>(positive ? expanded : -expanded);
}

Law alaw = {nullptr, nullptr, g711_alaw_compress, g711_alaw_compress_run, alaw_expand};
Law ulaw = {nullptr, nullptr, g711_ulaw_compress, g711_ulaw_compress_run, ulaw_expand};

std::int16_t sample_at(unsigned index) {
    return static_cast<std::int16_t>(index);
}

// The codes of the sixteen samples from `index` on.
void build_map_run(const Law& law, unsigned index) {
    std::uint8_t samples[sample_bytes * map_run];
    for (unsigned i = 0; i < map_run; i++) store_sample(samples + sample_bytes * i, sample_at(index + i));
    const std::uint32_t coded = law.compress_run(samples, law.encode_map + index, map_run);
    for (unsigned i = coded; i < map_run; i++) law.encode_map[index + i] = law.compress(sample_at(index + i));
}

int build_encode_map(Law& law) {
    if (law.encode_map != nullptr) return 0;
    law.encode_map = static_cast<std::uint8_t*>(std::malloc(sample_count));
    if (law.encode_map == nullptr) {
        std::fputs("Out of memory for LAW Encode Map !\n", stderr);
        return -1;
    }
    for (unsigned index = 0; index < sample_count; index += map_run) build_map_run(law, index);
    return 0;
}

int build_decode_map(Law& law) {
    if (law.decode_map != nullptr) return 0;
    law.decode_map = static_cast<std::int16_t*>(std::malloc(code_count * sizeof(std::int16_t)));
    if (law.decode_map == nullptr) {
        std::fputs("Out of memory for LAW Decode Map !\n", stderr);
        return -1;
    }
    for (unsigned code = 0; code < code_count; code++)
        law.decode_map[code] = law.expand(static_cast<std::uint8_t>(code));
    return 0;
}

// The private block, stored in the stream; it stays there when a map cannot be had.
G711State* allocate_state(CodecStream& stream) {
    auto* state = static_cast<G711State*>(std::calloc(1, sizeof(G711State)));
    if (state == nullptr) std::fputs("Out of memory for LAW CB !\n", stderr);
    stream.codec_private = state;
    return state;
}

// Each byte becomes a sample, low byte first; returns 2 x count.
std::uint32_t g711_decode(CodecStream& stream, const std::uint8_t* in, std::uint8_t* out, std::uint32_t count) {
    const std::int16_t* map = static_cast<const G711State*>(stream.codec_private)->decode_map;
    for (std::uint32_t i = 0; i < count; i++) store_sample(out + sample_bytes * i, map[in[i]]);
    return count * sample_bytes;
}

// Each sample becomes a byte, the map's; returns the number of samples. Runs are compressed on the spot where the
// processor can, which takes half the time of a look-up in 64 KB. Kept: of an odd count the last sample reads one byte
// more.
std::uint32_t encode(const Law& law, const std::uint8_t* in, std::uint8_t* out, std::uint32_t count) {
    const std::uint32_t samples = samples_in(count);
    for (std::uint32_t i = law.compress_run(in, out, samples); i < samples; i++) {
        out[i] = law.encode_map[static_cast<std::uint16_t>(load_sample(in + sample_bytes * i))];
    }
    return samples;
}

std::uint32_t alaw_encode(CodecStream&, const std::uint8_t* in, std::uint8_t* out, std::uint32_t count) {
    return encode(alaw, in, out, count);
}

std::uint32_t ulaw_encode(CodecStream&, const std::uint8_t* in, std::uint8_t* out, std::uint32_t count) {
    return encode(ulaw, in, out, count);
}

int g711_init(CodecStream& stream, int mode, Law& law, CodecOperation encode) {
    codec_print_line(stream);
    G711State* state = allocate_state(stream);
    if (state == nullptr) return -1;
    if (build_encode_map(law) < 0) return -1;
    if (build_decode_map(law) < 0) return -1;
    *state = {law.decode_map, law.encode_map};
    return codec_finish_init(stream, mode,
                             {
                                 .encode = encode,
                                 .decode = g711_decode,
                                 .pcm_bytes = pcm_block_bytes,
                                 .coded_bytes = coded_block_bytes,
                                 .coded_bits = coded_bits,
                             });
}

}  // namespace

int g711_alaw_init(CodecStream& stream, int mode) {
    return g711_init(stream, mode, alaw, alaw_encode);
}
int g711_ulaw_init(CodecStream& stream, int mode) {
    return g711_init(stream, mode, ulaw, ulaw_encode);
}

std::uint8_t g711_ulaw_encode_sample(std::int16_t sample) {
    return ulaw.encode_map != nullptr ? ulaw.encode_map[static_cast<std::uint16_t>(sample)] : ulaw_silence;
}

std::int16_t g711_ulaw_decode_sample(std::uint8_t code) {
    return ulaw.decode_map != nullptr ? ulaw.decode_map[code] : std::int16_t{0};
}
