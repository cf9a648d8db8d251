// SPDX-License-Identifier: MIT
// From the fields of a frame to its speech model.
#include "ambe/ambe_model.h"

#include "ambe/ambe_tables.h"
#include "constant_math.h"
#include "lanes/lanes.h"
#include "lanes/version_functions.h"

namespace DECODER_VERSION {
namespace {

constexpr int silence_harmonics = 14;
constexpr std::uint32_t silence_fundamental = phase_of_turns(1.0 / 32);
constexpr float prediction_factor = 0.8F;
constexpr int longest_block = 17;
constexpr int cosine_columns = 5;  // coefficients C2 to C6 of a block; C1 has none
constexpr int block_room = 24;     // the longest block in whole groups of eight
constexpr int prba_count = 8;

// No encoder comes near it, up or down; what random bits can add up to stays finite in all that follows.
constexpr float highest_log2_magnitude = 40.0F;

// 2 cos(pi m (i - 1/2) / 8) for m = 1..7 (G2..G8) and i = 1..8.
struct PrbaCosines {
    float of[prba_count - 1][prba_count];
};

constexpr PrbaCosines make_prba_cosines() {
    PrbaCosines table{};
    for (int m = 1; m < prba_count; m++)
        for (int i = 0; i < prba_count; i++)
            table.of[m - 1][i] = static_cast<float>(2 * constant_cosine(m * (i + 0.5) / 16));
    return table;
}

// 2 cos(pi (k - 1) (j - 1/2) / J) for k = 2..6 and j = 1..J; 0 past the block's length in both directions.
struct BlockCosines {
    float of[longest_block + 1][cosine_columns][block_room];
};

constexpr BlockCosines make_block_cosines() {
    BlockCosines table{};
    for (int length = 2; length <= longest_block; length++)
        for (int k = 1; k <= cosine_columns && k < length; k++)
            for (int j = 0; j < length; j++)
                table.of[length][k - 1][j] = static_cast<float>(2 * constant_cosine(k * (j + 0.5) / (2 * length)));
    return table;
}

// log2(L) / 2, by L.
struct HalfLogs {
    float of[max_harmonics + 1];
};

constexpr HalfLogs make_half_logs() {
    HalfLogs table{};
    for (int harmonics = 1; harmonics <= max_harmonics; harmonics++)
        table.of[harmonics] = static_cast<float>(constant_log2(harmonics) / 2);
    return table;
}

constexpr PrbaCosines prba_cosines = make_prba_cosines();
constexpr BlockCosines block_cosines = make_block_cosines();
constexpr HalfLogs half_logs = make_half_logs();

bool is_silence(const AmbeFrame& frame) {
    return frame.pitch_index >= silence_pitch;
}

void decode_pitch(const AmbeFrame& frame, Harmonics& harmonics) {
    const PitchRow& row = pitch_table[frame.pitch_index];
    harmonics.fundamental = phase_of_turns(row.fundamental);
    harmonics.count = row.harmonics;
}

void silence_pitch_of(Harmonics& harmonics) {
    harmonics.fundamental = silence_fundamental;
    harmonics.count = silence_harmonics;
}

// A harmonic is voiced when its band of 500 Hz is: the upper three bits of its frequency in turns, doubled.
void decode_voicing(const AmbeFrame& frame, Harmonics& harmonics) {
    const std::uint8_t* bands = voicing_table[frame.voicing_index];
    std::uint32_t frequency = 0;
    for (int i = 0; i < harmonics.count; i++) {
        frequency += harmonics.fundamental;
        harmonics.voiced[i] = 0U - bands[frequency >> 28];
    }
    for (int i = harmonics.count; i < harmonic_slots; i++) harmonics.voiced[i] = 0;
}

void silence_voicing(Harmonics& harmonics) {
    __builtin_memset(harmonics.voiced, 0, sizeof harmonics.voiced);
}

// The block averages R1..R8, by the inverse cosine transform of G2..G8; G1 is 0.
Floats block_averages(const AmbeFrame& frame) {
    const float* g24 = prba24_table[frame.prba24_index];
    const float* g58 = prba58_table[frame.prba58_index];
    Floats r{};
    for (int m = 0; m < 3; m++) r += g24[m] * load(prba_cosines.of[m]);
    for (int m = 0; m < 4; m++) r += g58[m] * load(prba_cosines.of[m + 3]);
    return r;
}

// The residuals of one block from its coefficients C1..C6, in whole groups: what lies past the block is overwritten.
void decode_block(float c1, float c2, const float* higher, int length, float* residuals) {
    const auto& cosines = block_cosines.of[length];
    for (int j = 0; j < length; j += lane_count) {
        Floats c = c1 + c2 * load(cosines[0] + j);
        for (int k = 0; k < hoc_values; k++) c += higher[k] * load(cosines[k + 1] + j);
        store(residuals + j, c);
    }
}

// The prediction residuals T of all harmonics, block after block.
void decode_residuals(const AmbeFrame& frame, int harmonics, float* residuals) {
    constexpr float half_root = 0.35355339F;  // 1 / (2 sqrt 2)
    const float* higher[harmonic_blocks] = {hoc_b5_table[frame.hoc1_index], hoc_b6_table[frame.hoc2_index],
                                            hoc_b7_table[frame.hoc3_index], hoc_b8_table[frame.hoc4_index]};
    const Floats r = block_averages(frame);
    for (int block = 0; block < harmonic_blocks; block++) {
        const float first = r[2 * block];
        const float second = r[2 * block + 1];
        const int length = block_length_table[harmonics - min_harmonics][block];
        decode_block(0.5F * (first + second), half_root * (first - second), higher[block], length, residuals);
        residuals += length;
    }
}

// The log magnitudes of the frame before, read at the places where this frame's harmonics lie.
void predict(const float* log2_before, int harmonics_before, int harmonics, float* prediction) {
    // Harmonic 0 counts as harmonic 1, one past the last as the last.
    float extended[harmonic_slots + lane_count];
    extended[0] = log2_before[0];
    for (int i = 0; i < harmonic_slots; i += lane_count) store(extended + 1 + i, load(log2_before + i));
    extended[harmonics_before + 1] = extended[harmonics_before];

    const auto before = static_cast<float>(harmonics_before);
    const Floats count = splat(static_cast<float>(harmonics));
    for (int i = 0; i < harmonics; i += lane_count) {
        const Floats harmonic = lane_numbers + static_cast<float>(i + 1);
        const Floats place = min(harmonic * before / count, splat(before));
        const Words lower = whole_numbers(place);
        float left[lane_count];
        float right[lane_count];
        for (int lane = 0; lane < lane_count; lane++) {
            left[lane] = extended[lower[lane]];
            right[lane] = extended[lower[lane] + 1];
        }
        store(prediction + i, load(left) + (place - signed_floats(lower)) * (load(right) - load(left)));
    }
}

float mean_of(const float* values, int count) {
    Floats total{};
    for (int i = 0; i < count; i += lane_count) total += masked(mask_below(i, count), load(values + i));
    return sum(total) / static_cast<float>(count);
}

void clear_past(float* values, int count) {
    for (int i = 0; i < harmonic_slots; i += lane_count)
        store(values + i, masked(mask_below(i, count), load(values + i)));
}

// What the frame says of its level: gamma less the share of each harmonic.
float level_of(const AmbeFrame& frame, int harmonics) {
    return 2.0F * gain_table[frame.gain_index] - half_logs.of[harmonics];
}

// log2 M = T - mean T + factor (p - mean p) + level
void combine(const float* residuals, float factor, const float* prediction, float level, SpeechModel& model) {
    const int harmonics = model.harmonics.count;
    const float offset = level - mean_of(residuals, harmonics) - factor * mean_of(prediction, harmonics);
    for (int i = 0; i < harmonics; i += lane_count)
        store(model.log2_magnitude + i, load(residuals + i) + factor * load(prediction + i) + offset);
    clear_past(model.log2_magnitude, harmonics);
}

void decode_log_magnitudes(const AmbeFrame& frame, int harmonics_before, SpeechModel& model) {
    const int harmonics = model.harmonics.count;
    float residuals[harmonic_slots + block_room];
    float prediction[harmonic_slots];
    decode_residuals(frame, harmonics, residuals);
    predict(model.log2_magnitude, harmonics_before, harmonics, prediction);
    combine(residuals, prediction_factor, prediction, level_of(frame, harmonics), model);
}

// The shape of the frame before, stretched to the new number of harmonics, at the new level.
void repeat_log_magnitudes(const AmbeFrame& frame, int harmonics_before, SpeechModel& model) {
    const int harmonics = model.harmonics.count;
    constexpr float no_residuals[harmonic_slots] = {};
    float prediction[harmonic_slots];
    predict(model.log2_magnitude, harmonics_before, harmonics, prediction);
    combine(no_residuals, 1.0F, prediction, level_of(frame, harmonics), model);
}

// An unvoiced magnitude is a density of noise.
void decode_magnitudes(SpeechModel& model) {
    Harmonics& harmonics = model.harmonics;
    const float omega = static_cast<float>(2 * constant_pi * 0x1p-32) * static_cast<float>(harmonics.fundamental);
    const Floats unvoiced = noise_density / sqrt(splat(omega));
    for (int i = 0; i < harmonics.count; i += lane_count) {
        const Floats factor = select(load(harmonics.voiced + i), splat(1.0F), unvoiced);
        const Floats exponent =
            max(min(load(model.log2_magnitude + i), splat(highest_log2_magnitude)), splat(-highest_log2_magnitude));
        store(harmonics.magnitude + i, power_of_two(exponent) * factor);
    }
    clear_past(harmonics.magnitude, harmonics.count);
}

}  // namespace

void ambe_model_decode(const AmbeFrame& frame, SpeechModel& model) {
    const int harmonics_before = model.harmonics.count;
    if (is_silence(frame)) {
        silence_pitch_of(model.harmonics);
        silence_voicing(model.harmonics);
    } else {
        decode_pitch(frame, model.harmonics);
        decode_voicing(frame, model.harmonics);
    }
    decode_log_magnitudes(frame, harmonics_before, model);
    decode_magnitudes(model);
}

void ambe_model_repeat_shape(const AmbeFrame& frame, SpeechModel& model) {
    const int harmonics_before = model.harmonics.count;
    decode_pitch(frame, model.harmonics);
    decode_voicing(frame, model.harmonics);
    repeat_log_magnitudes(frame, harmonics_before, model);
    decode_magnitudes(model);
}

}  // namespace DECODER_VERSION
