// SPDX-License-Identifier: MIT
// Tones: one or two sinusoids in place of speech.
#include "synthesis/tone.h"

#include "lanes/lanes.h"
#include "lanes/version_functions.h"

namespace DECODER_VERSION {
namespace {

constexpr int fade_samples = 16;  // 2 ms
constexpr int lines = 2;

bool is_same(const Tone& tone, const ToneModel& model) {
    return tone.step[0] == model.step[0] && tone.step[1] == model.step[1];
}

Tone silent_tone_of(const ToneModel& model) {
    return {
        true, 0, {0,             0            },
          {model.step[0], model.step[1]}
    };
}

// A tone of two lines gives half to each.
float amplitude_of(const ToneModel& model) {
    const float peak = power_of_two(splat(model.log2_peak))[0];
    return model.step[1] != 0 ? 0.5F * peak : peak;
}

// Adds one line, its amplitude going to `target` in the first 2 ms; its phase moves on to the end.
void add_line(std::uint32_t& phase, std::uint32_t step, float amplitude, float target, SpeechBlock& samples) {
    Words phases = splat(phase - step) + numbered_multiples(step);
    for (int n = 0; n < frame_samples; n += lane_count) {
        const Floats faded = min((lane_numbers + static_cast<float>(n)) * (1.0F / fade_samples), splat(1.0F));
        const Floats level = amplitude + (target - amplitude) * faded;
        store(samples + n, load(samples + n) + level * sine(phases));
        phases += splat(lane_count * step);
    }
    phase += step * frame_samples;
}

void add_lines(Tone& tone, float target, SpeechBlock& samples) {
    for (int line = 0; line < lines; line++)
        if (tone.step[line] != 0) add_line(tone.phase[line], tone.step[line], tone.amplitude, target, samples);
    tone.amplitude = target;
}

}  // namespace

void add_tone(Tone& tone, const ToneModel* model, SpeechBlock& samples) {
    const bool goes_on = model != nullptr && tone.sounds && is_same(tone, *model);
    if (tone.sounds && !goes_on) {
        add_lines(tone, 0, samples);
        tone = Tone{};
    }
    if (model == nullptr) return;
    if (!goes_on) tone = silent_tone_of(*model);
    add_lines(tone, amplitude_of(*model), samples);
}

}  // namespace DECODER_VERSION
