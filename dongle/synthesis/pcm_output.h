// SPDX-License-Identifier: MIT
// From the synthesis to 16-bit samples (pcm_output).
#pragma once

// Speech comes out twice as loud as the model says: active speech then lies 14 to 25 dB below full scale. Tones have
// their level already.
constexpr float output_gain = 2.0F;
constexpr float output_limit = 32767.0F;
