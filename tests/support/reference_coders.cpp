// SPDX-License-Identifier: MIT
#include "support/reference_coders.h"

#include <algorithm>
#include <cstdlib>

#include "support/wave.h"

const int ima_steps[89] = {7,     8,     9,     10,    11,    12,    13,    14,    16,    17,    19,   21,    23,
                           25,    28,    31,    34,    37,    41,    45,    50,    55,    60,    66,   73,    80,
                           88,    97,    107,   118,   130,   143,   157,   173,   190,   209,   230,  253,   279,
                           307,   337,   371,   408,   449,   494,   544,   598,   658,   724,   796,  876,   963,
                           1060,  1166,  1282,  1411,  1552,  1707,  1878,  2066,  2272,  2499,  2749, 3024,  3327,
                           3660,  4026,  4428,  4871,  5358,  5894,  6484,  7132,  7845,  8630,  9493, 10442, 11487,
                           12635, 13899, 15289, 16818, 18500, 20350, 22385, 24623, 27086, 29794, 32767};

namespace {

constexpr int lowest_sample = -32768;
constexpr int highest_sample = 32767;
constexpr std::size_t frame_samples = 160;

void move_index(ImaState& state, int code) {
    const int magnitude = code & 7;
    state.index = std::clamp(magnitude < 4 ? state.index - 1 : state.index + 2 * (magnitude - 3), 0, 88);
}

void move_predictor(ImaState& state, int code, int difference) {
    state.predictor =
        std::clamp(state.predictor + (code >= 8 ? -difference : difference), lowest_sample, highest_sample);
}

// What the codes 0 to 7 stand for, without the eighth of a step that all of them add.
int threshold(int magnitude, int step) {
    return (magnitude >= 4 ? step : 0) + (magnitude % 4 >= 2 ? step / 2 : 0) + (magnitude % 2 != 0 ? step / 4 : 0);
}

}  // namespace

std::vector<int> ulaw_decision_values() {
    std::vector<int> values;
    for (int width = 8, start = 0; width <= 1024; width *= 2)
        for (int k = 0; k < 16; ++k) {
            values.push_back(start);
            start += values.size() == 1 ? width - 4 : width;  // the first interval is half as wide: 0 to 3
        }
    return values;
}

std::vector<int> alaw_decision_values() {
    std::vector<int> values;
    for (int k = 0; k < 32; ++k) values.push_back(16 * k);
    for (int width = 32; width <= 1024; width *= 2)
        for (int k = 0; k < 16; ++k) values.push_back(16 * width + k * width);
    return values;
}

int interval_of(const std::vector<int>& decision_values, int magnitude) {
    const auto above = std::upper_bound(decision_values.begin(), decision_values.end(), magnitude);
    return static_cast<int>(above - decision_values.begin()) - 1;
}

std::uint8_t ulaw_code(int sample) {
    static const std::vector<int> values = ulaw_decision_values();
    if (sample == lowest_sample) return 0x7F;
    return static_cast<std::uint8_t>((sample < 0 ? 0x7F : 0xFF) - interval_of(values, std::abs(sample)));
}

std::uint8_t alaw_code(int sample) {
    static const std::vector<int> values = alaw_decision_values();
    if (sample == lowest_sample) return 0x55;
    const int interval = interval_of(values, std::abs(sample));
    return static_cast<std::uint8_t>((sample < 0 ? interval : interval + 0x80) ^ 0x55);
}

int ima_code(ImaState& state, int sample) {
    const int step = ima_steps[state.index];
    const int difference = std::abs(sample - state.predictor);
    int magnitude = 7;
    while (threshold(magnitude, step) > difference) --magnitude;
    const int code = sample < state.predictor ? magnitude + 8 : magnitude;
    move_predictor(state, code, threshold(magnitude, step) + step / 8);
    move_index(state, code);
    return code;
}

int ima_sample(ImaState& state, int code) {
    const int step = ima_steps[state.index];
    move_predictor(state, code, code % 8 * step / 4 + step / 8);
    move_index(state, code);
    return state.predictor;
}

Bytes ima_codes(ImaState& state, const std::vector<int>& samples) {
    Bytes codes;
    for (std::size_t i = 0; i < samples.size(); i += 2) {
        const int first = ima_code(state, samples[i]);
        const int second = i + 1 < samples.size() ? ima_code(state, samples[i + 1]) : 0;
        codes.push_back(static_cast<std::uint8_t>(first * 16 + second));
    }
    return codes;
}

GsmPtr new_gsm_coder(int wave_layout) {
    GsmPtr coder(gsm_create());
    gsm_option(coder.get(), GSM_OPT_WAV49, &wave_layout);
    return coder;
}

Bytes coded_gsm_frame(const GsmPtr& coder, const std::vector<int>& samples, std::size_t from) {
    gsm_signal source[frame_samples];
    for (std::size_t i = 0; i < frame_samples; ++i) source[i] = static_cast<gsm_signal>(samples.at(from + i));
    Bytes frame(34, 0xFF);
    gsm_encode(coder.get(), source, frame.data());
    return frame;
}

std::size_t coded_inputs(std::size_t total, std::size_t size) {
    return total == 0 ? 0 : (total - 1) / size;
}

namespace {

// The samples of the blocks that are coded.
std::vector<int> coded_samples(const Bytes& pcm, std::size_t block_bytes) {
    return pcm_samples(first_bytes(pcm, coded_inputs(pcm.size(), block_bytes) * block_bytes));
}

template <std::uint8_t (*code)(int)>
Bytes codes_of(const Bytes& pcm) {
    Bytes codes;
    for (const int sample : coded_samples(pcm, 2048)) codes.push_back(code(sample));
    return codes;
}

Bytes alaw_file(const Bytes& pcm) {
    return coded_file({6, 8000, 1, 8}, codes_of<alaw_code>(pcm));
}

Bytes ulaw_file(const Bytes& pcm) {
    return coded_file({7, 8000, 1, 8}, codes_of<ulaw_code>(pcm));
}

// Kept: as many bytes as samples are handed on, the second half of them zeros.
Bytes adpcm_file(const Bytes& pcm) {
    ImaState state;
    const Bytes codes = ima_codes(state, coded_samples(pcm, 4096));
    Bytes data;
    for (std::size_t from = 0; from < codes.size(); from += 1024) data = data + slice(codes, from, 1024) + zeros(1024);
    return coded_file({17, 0, 0, 4}, data);
}

// Kept: of each 640 bytes the first 160 samples are coded, to 32 and 33 bytes in turn, and 640 bytes handed on.
Bytes gsm_file(const Bytes& pcm) {
    const GsmPtr coder = new_gsm_coder();
    const std::vector<int> samples = coded_samples(pcm, 640);
    Bytes data;
    for (std::size_t from = 0; from < samples.size(); from += 320) {
        const std::size_t count = from / 320 % 2 == 0 ? 32 : 33;
        data = data + first_bytes(coded_gsm_frame(coder, samples, from), count) + zeros(640 - count);
    }
    return coded_file({49, 0, 0, 0}, data);
}

}  // namespace

const ReferenceFile reference_files[4] = {
    {"alaw",  alaw_file },
    {"ulaw",  ulaw_file },
    {"adpcm", adpcm_file},
    {"gsm",   gsm_file  },
};
