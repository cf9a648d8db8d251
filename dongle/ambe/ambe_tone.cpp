// SPDX-License-Identifier: MIT
// Tone frames: which sinusoids they ask for.
#include "ambe/ambe_tone.h"

namespace {

constexpr double sample_rate = 8000;
constexpr double single_tone_spacing = 31.25;  // Hz

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

}  // namespace

ToneModel ambe_tone_decode(const AmbeFrame& frame) {
    const int raw_index = frame.tone_index;
    const float log2_peak = static_cast<float>(frame.tone_volume) / 16.934F - 1.0F;
    if (raw_index >= dual_tones) {
        const double hertz = single_tone_spacing * (raw_index - single_tone_offset);
        return {step_of(hertz), 0, log2_peak};
    }
    const DualTones& tones = raw_index < dtmf_tones ? dtmf : knox;
    return {step_of(tones.column[raw_index / 4 % 4]), step_of(tones.row[raw_index % 4]), log2_peak};
}
