// SPDX-License-Identifier: MIT
// Tones: one or two sinusoids in place of speech.
#include "synthesis/tone.h"

#include "lanes/lanes.h"
#include "lanes/version_functions.h"

namespace DECODER_VERSION {
namespace {

constexpr int fade_samples = 16;  // 2 ms

bool is_same(const Tone& tone, const ToneModel& model) {
    return tone.first.step == model.first_step && tone.second.step == model.second_step;
}

Tone silent_tone_of(const ToneModel& model) {
    Tone tone = {};
    tone.sounds = true;
    tone.first.step = model.first_step;
    tone.second.step = model.second_step;
    return tone;
}

// A tone of two lines gives half to each.
float amplitude_of(const ToneModel& model) {
    const float peak = power_of_two(splat(model.log2_peak))[0];
    return model.second_step != 0 ? 0.5F * peak : peak;
}

// Adds one line, its amplitude going to `target` in the first 2 ms; its phase moves on to the end.
void add_line(ToneLine& line, float amplitude, float target, SpeechBlock& samples) {
    if (line.step == 0) return;
    Words phases = splat(line.phase - line.step) + numbered_multiples(line.step);
    for (int n = 0; n < frame_samples; n += lane_count) {
        const Floats faded = min((lane_numbers + static_cast<float>(n)) * (1.0F / fade_samples), splat(1.0F));
        const Floats level = amplitude + (target - amplitude) * faded;
        store(samples + n, load(samples + n) + level * sine(phases));
        phases += splat(lane_count * line.step);
    }
    line.phase += line.step * frame_samples;
}

void add_lines(Tone& tone, float target, SpeechBlock& samples) {
    add_line(tone.first, tone.amplitude, target, samples);
    add_line(tone.second, tone.amplitude, target, samples);
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
