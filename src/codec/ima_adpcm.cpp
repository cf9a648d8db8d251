// SPDX-License-Identifier: MIT
#include "codec/ima_adpcm.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>

#include "codec/codec_init.h"
#include "codec/little_endian.h"

namespace {

constexpr std::int16_t default_block_bytes = 1024;
constexpr std::int16_t pcm_bytes_per_code_byte = 4;
constexpr std::int16_t largest_block_bytes = INT16_MAX / pcm_bytes_per_code_byte;  // its PCM still fits 16 bits
constexpr std::int16_t coded_bits = 4;
constexpr std::uint32_t header_bytes = 4;

constexpr unsigned code_sign = 8;
constexpr unsigned code_magnitude = 7;
constexpr unsigned code_mask = 0x0F;
constexpr int code_bits = 4;

// The private block; all zero at init.
struct ImaAdpcmState {
    std::int16_t predictor;
    std::uint16_t step_index;  // row of step_sizes
    std::uint16_t reserved;    // the decoder sets it to 0
};
static_assert(sizeof(ImaAdpcmState) == 6);

// The state while a block is coded.
struct Coder {
    int predictor;
    unsigned step_index;
};

// clang-format off
constexpr std::array<int, 89> step_sizes = {
        7,     8,     9,    10,    11,    12,    13,    14,    16,    17,
       19,    21,    23,    25,    28,    31,    34,    37,    41,    45,
       50,    55,    60,    66,    73,    80,    88,    97,   107,   118,
      130,   143,   157,   173,   190,   209,   230,   253,   279,   307,
      337,   371,   408,   449,   494,   544,   598,   658,   724,   796,
      876,   963,  1060,  1166,  1282,  1411,  1552,  1707,  1878,  2066,
     2272,  2499,  2749,  3024,  3327,  3660,  4026,  4428,  4871,  5358,
     5894,  6484,  7132,  7845,  8630,  9493, 10442, 11487, 12635, 13899,
    15289, 16818, 18500, 20350, 22385, 24623, 27086, 29794, 32767,
};
constexpr std::array<int, 16> index_steps = {
    -1, -1, -1, -1, 2, 4, 6, 8,
    -1, -1, -1, -1, 2, 4, 6, 8,
};
// clang-format on
constexpr int last_step_index = step_sizes.size() - 1;

static_assert(step_sizes[0] == 7 && step_sizes[last_step_index] == 32767);
static_assert(std::ranges::is_sorted(step_sizes));

using StepRow = std::array<std::uint8_t, index_steps.size()>;

constexpr std::array<StepRow, step_sizes.size()> follow_index_steps() {
    std::array<StepRow, step_sizes.size()> next = {};
    for (unsigned row = 0; row < step_sizes.size(); row++) {
        for (unsigned code = 0; code < index_steps.size(); code++) {
            const int moved = static_cast<int>(row) + index_steps[code];
            next[row][code] = static_cast<std::uint8_t>(std::clamp(moved, 0, last_step_index));
        }
    }
    return next;
}

// The step index that follows each step index and code, kept inside step_sizes. The next sample waits for it, and a
// look-up is the shortest way there.
constexpr std::array<StepRow, step_sizes.size()> next_step_index = follow_index_steps();

ImaAdpcmState& state_of(CodecStream& stream) {
    return *static_cast<ImaAdpcmState*>(stream.codec_private);
}

Coder load_coder(const ImaAdpcmState& state) {
    return {state.predictor, std::min<unsigned>(state.step_index, last_step_index)};
}

void store_coder(ImaAdpcmState& state, const Coder& coder) {
    state.predictor = static_cast<std::int16_t>(coder.predictor);
    state.step_index = static_cast<std::uint16_t>(coder.step_index);
}

// The functions that run once a sample are always inlined, which keeps the state in registers: through memory, the next
// sample would have to wait for it.

// Moves the predictor by the difference that the code stands for, the step index by the code's row.
[[gnu::always_inline]] inline void advance(Coder& coder, unsigned code, int difference) {
    const int moved = (code & code_sign) != 0 ? coder.predictor - difference : coder.predictor + difference;
    coder.predictor = std::clamp<int>(moved, INT16_MIN, INT16_MAX);
    coder.step_index = next_step_index[coder.step_index][code];
}

//   offset   0           2            3          4
//          ┌───────────┬────────────┬──────────┬───────┐
//          │ predictor │ step index │ reserved │ codes │
//          └───────────┴────────────┴──────────┴───────┘
// A step index that no row has is taken as the last row.
Coder coder_of_header(const std::uint8_t* header) {
    return {load_sample(header), std::min<unsigned>(header[2], last_step_index)};
}

[[gnu::always_inline]] inline std::int16_t decode_code(Coder& coder, unsigned code) {
    const int step = step_sizes[coder.step_index];
    const auto magnitude = static_cast<int>(code & code_magnitude);
    advance(coder, code, ((magnitude * step) >> 2) + (step >> 3));
    return static_cast<std::int16_t>(coder.predictor);
}

// Subtracts `part` from `rest` when `rest` reaches it. Returns the code's bit: 1 when it did, else 0. There is no
// branch, because the processor could only guess which way it goes.
[[gnu::always_inline]] inline unsigned take_part(int& rest, int part) {
    const int beyond = rest - part;
    rest = beyond < 0 ? rest : beyond;
    return static_cast<unsigned>(1 + (beyond >> 31));
}

[[gnu::always_inline]] inline unsigned encode_sample(Coder& coder, int sample) {
    const int step = step_sizes[coder.step_index];
    const unsigned sign = sample < coder.predictor ? code_sign : 0;
    const int distance = std::abs(sample - coder.predictor);
    int rest = distance;
    const unsigned whole = take_part(rest, step);
    const unsigned half = take_part(rest, step >> 1);
    const unsigned quarter = take_part(rest, step >> 2);
    const unsigned code = sign | whole << 2 | half << 1 | quarter;
    advance(coder, code, distance - rest + (step >> 3));
    return code;
}

// Each byte becomes two samples; returns the bytes written, four a code byte. With block headers on, a block that is
// no longer than its header has no codes, and a header that is not whole leaves the state as it was.
std::uint32_t ima_adpcm_decode(CodecStream& stream, const std::uint8_t* in, std::uint8_t* out, std::uint32_t count) {
    ImaAdpcmState& state = state_of(stream);
    Coder coder = load_coder(state);
    if ((stream.flags & codec_flag_block_headers) != 0) {
        if (count < header_bytes) return 0;
        coder = coder_of_header(in);
        in += header_bytes;
        count -= header_bytes;
    }
    for (std::uint32_t i = 0; i < count; i++, out += pcm_bytes_per_code_byte) {
        store_sample(out, decode_code(coder, in[i] & code_mask));
        store_sample(out + sample_bytes, decode_code(coder, static_cast<unsigned>(in[i]) >> code_bits));
    }
    store_coder(state, coder);
    state.reserved = 0;
    return count * pcm_bytes_per_code_byte;
}

// Each pair of samples becomes a byte, the first in the high nibble; a last odd sample has a low nibble of 0.
// Kept: returns the number of samples, so the stream hands on twice the bytes that were coded; what follows the codes
// is left as it is (zero in OBUFF). Kept: an odd last byte counts as one more sample and reads one byte more.
std::uint32_t ima_adpcm_encode(CodecStream& stream, const std::uint8_t* in, std::uint8_t* out, std::uint32_t count) {
    ImaAdpcmState& state = state_of(stream);
    Coder coder = load_coder(state);
    const std::uint32_t samples = samples_in(count);
    for (std::uint32_t i = 0; i < samples; i += 2) {
        const unsigned high = encode_sample(coder, load_sample(in + sample_bytes * i));
        const unsigned low = i + 1 < samples ? encode_sample(coder, load_sample(in + sample_bytes * (i + 1))) : 0;
        *out++ = static_cast<std::uint8_t>(high << code_bits | low);
    }
    store_coder(state, coder);
    return samples;
}

}  // namespace

int ima_adpcm_init(CodecStream& stream, int mode) {
    if (stream.block_bytes > largest_block_bytes) return -1;
    codec_print_line(stream);
    stream.codec_private = std::calloc(1, sizeof(ImaAdpcmState));
    if (stream.codec_private == nullptr) {
        std::fputs("Out of memory for ADPCM CB !\n", stderr);
        return -1;
    }

    const std::int16_t code_bytes = stream.block_bytes >= 1 ? stream.block_bytes : default_block_bytes;
    return codec_finish_init(stream, mode,
                             {
                                 .encode = ima_adpcm_encode,
                                 .decode = ima_adpcm_decode,
                                 .pcm_bytes = static_cast<std::int16_t>(code_bytes * pcm_bytes_per_code_byte),
                                 .coded_bytes = code_bytes,
                                 .coded_bits = coded_bits,
                             });
}
