// SPDX-License-Identifier: MIT
#include "codec/gsm0610.h"

#include <gsm.h>

#include <cstdio>
#include <cstring>

#include "codec/codec_init.h"
#include "codec/little_endian.h"

namespace {

constexpr std::size_t frame_samples = 160;
constexpr std::uint32_t frame_pcm_bytes = frame_samples * sample_bytes;
constexpr std::int16_t pcm_block_bytes = 2 * frame_pcm_bytes;
constexpr std::int16_t coded_block_bytes = 65;
constexpr std::int16_t coded_bits = 0;

constexpr std::size_t first_half_bytes = 32;   // coded by the first call of a pair; half a byte is kept
constexpr std::size_t second_half_bytes = 33;  // coded by the second, the half byte first
constexpr std::size_t longest_half_bytes = 33;
constexpr std::size_t second_frame_offset = 33;  // where the decoder finds the second frame

// The private block is libgsm's coder state, a `gsm`, with its option for WAVE files on.
gsm state_of(CodecStream& stream) {
    return static_cast<gsm>(stream.codec_private);
}

bool in_wave_layout(gsm state) {
    return gsm_option(state, GSM_OPT_WAV49, nullptr) > 0;
}

// Whether the frame coded last was the first of a pair.
bool inside_a_pair(gsm state) {
    return gsm_option(state, GSM_OPT_FRAME_INDEX, nullptr) != 0;
}

void decode_frame(gsm state, const std::uint8_t* in, std::size_t count, std::uint8_t* out) {
    gsm_byte frame[longest_half_bytes] = {};
    gsm_signal samples[frame_samples] = {};
    std::memcpy(frame, in, count);
    gsm_decode(state, frame, samples);
    std::memcpy(out, samples, sizeof samples);
}

// Decodes the two frames of a block, whatever `count` says; returns 640. When libgsm's option for WAVE files has been
// switched off, decodes one frame and returns 320.
std::uint32_t gsm0610_decode(CodecStream& stream, const std::uint8_t* in, std::uint8_t* out, std::uint32_t /*count*/) {
    gsm state = state_of(stream);
    decode_frame(state, in, second_frame_offset, out);
    if (!in_wave_layout(state)) return frame_pcm_bytes;
    decode_frame(state, in + second_frame_offset, coded_block_bytes - second_frame_offset, out + frame_pcm_bytes);
    return 2 * frame_pcm_bytes;
}

// Kept: one frame a call, from the first 160 samples of the block, so that 32 and 33 bytes are coded in turn, both at
// the start of `out`. Kept: returns `count`, so the stream hands on 640 bytes. Clears the rest of the 65 bytes after
// the codes, the half byte included that libgsm writes early for the second frame.
std::uint32_t gsm0610_encode(CodecStream& stream, const std::uint8_t* in, std::uint8_t* out, std::uint32_t count) {
    gsm state = state_of(stream);
    gsm_signal samples[frame_samples];
    std::memcpy(samples, in, sizeof samples);
    gsm_encode(state, samples, out);
    const std::size_t coded_bytes = inside_a_pair(state) ? first_half_bytes : second_half_bytes;
    std::memset(out + coded_bytes, 0, coded_block_bytes - coded_bytes);
    return count;
}

constexpr CodecShape gsm0610_shape = {
    .encode = gsm0610_encode,
    .decode = gsm0610_decode,
    .pcm_bytes = pcm_block_bytes,
    .coded_bytes = coded_block_bytes,
    .coded_bits = coded_bits,
};

// False when libgsm was built without it.
bool choose_wave_layout(gsm state) {
    int on = 1;
    return gsm_option(state, GSM_OPT_WAV49, &on) >= 0;
}

}  // namespace

int gsm0610_init(CodecStream& stream, int mode) {
    codec_print_line(stream);
    gsm state = gsm_create();
    stream.codec_private = state;
    if (state == nullptr) {
        std::fputs("Out of memory for GSM CB !\n", stderr);
        return -1;
    }
    if (!choose_wave_layout(state)) {
        gsm_destroy(state);
        stream.codec_private = nullptr;
        return -1;
    }
    return codec_finish_init(stream, mode, gsm0610_shape);
}
