// SPDX-License-Identifier: MIT
// Tone frames: one or two sinusoids instead of speech.
#include "ambe_tone.h"

#include "lanes.h"
#include "mbe_synthesis.h"

namespace ARITHMETIC {
namespace {

constexpr double sample_rate = 8000;
constexpr double single_tone_spacing = 31.25;  // Hz
constexpr int fade_samples = 16;               // 2 ms
constexpr int lines = 2;

// Raw index modulo 16: the column in the upper two bits, the row in the lower two.
struct DualTones {
    double column[4], row[4];  // Hz
};

constexpr DualTones dtmf = {
    {1209, 1336, 1477, 1633},
    {697,  770,  852,  941 }
};
constexpr DualTones knox = {
    {1052, 1162, 1279, 1430},
    {606,  672,  743,  820 }
};

std::uint32_t step_of(double hertz) {
    return phase_of_turns(hertz / sample_rate);
}

bool is_dual(int raw_index) {
    return raw_index < dual_tones;
}

AmbeTone silent_tone_of(int raw_index) {
    AmbeTone tone{};
    tone.sounds = true;
    tone.raw_index = raw_index;
    if (!is_dual(raw_index)) {
        tone.step[0] = step_of(single_tone_spacing * (raw_index - single_tone_offset));
        return tone;
    }
    const DualTones& tones = raw_index < dtmf_tones ? dtmf : knox;
    tone.step[0] = step_of(tones.column[raw_index / 4 % 4]);
    tone.step[1] = step_of(tones.row[raw_index % 4]);
    return tone;
}

// The peak of the whole tone is 2^(volume / 16.934 - 1); a dual tone gives half to each line.
float amplitude_of(const AmbeFrame& frame) {
    const float exponent = static_cast<float>(frame.tone_volume) / 16.934F - 1.0F;
    const float peak = power_of_two(splat(exponent))[0];
    return is_dual(frame.tone_index) ? 0.5F * peak : peak;
}

// Adds one line, its amplitude going to `target` in the first 2 ms; its phase moves on to the end.
void add_line(std::uint32_t& phase, std::uint32_t step, float amplitude, float target, float* samples) {
    Words phases = splat(phase - step) + numbered_multiples(step);
    for (int n = 0; n < synthesis_samples; n += lane_count) {
        const Floats faded = lesser((lane_numbers + static_cast<float>(n)) * (1.0F / fade_samples), splat(1.0F));
        const Floats level = amplitude + (target - amplitude) * faded;
        put(samples + n, floats_at(samples + n) + level * sine(phases));
        phases += splat(lane_count * step);
    }
    phase += step * synthesis_samples;
}

void add_tone(AmbeTone& tone, float target, float* samples) {
    for (int line = 0; line < lines; line++)
        if (tone.step[line] != 0) add_line(tone.phase[line], tone.step[line], tone.amplitude, target, samples);
    tone.amplitude = target;
}

}  // namespace

void ambe_tone_samples(AmbeTone& tone, const AmbeFrame* frame, float* samples) {
    __builtin_memset(samples, 0, synthesis_samples * sizeof *samples);
    const bool goes_on = frame != nullptr && tone.sounds && tone.raw_index == frame->tone_index;
    if (tone.sounds && !goes_on) {
        add_tone(tone, 0, samples);
        tone = AmbeTone{};
    }
    if (frame == nullptr) return;
    if (!goes_on) tone = silent_tone_of(frame->tone_index);
    add_tone(tone, amplitude_of(*frame), samples);
}

}  // namespace ARITHMETIC
