// SPDX-License-Identifier: MIT
// The speech model's states without speech.
#include "speech_model.h"

#include <cstring>

namespace {

// 0.09378 radians per sample, the customary start.
constexpr double reset_fundamental = 0.0149256;
constexpr int reset_harmonics = 30;

}  // namespace

void speech_model_reset(SpeechModel& model) {
    std::memset(&model, 0, sizeof model);
    model.harmonics.fundamental = phase_of_turns(reset_fundamental);
    model.harmonics.count = reset_harmonics;
}

void harmonics_mute(Harmonics& harmonics) {
    std::memset(harmonics.magnitude, 0, sizeof harmonics.magnitude);
    std::memset(harmonics.voiced, 0, sizeof harmonics.voiced);
}
