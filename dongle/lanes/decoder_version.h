// SPDX-License-Identifier: MIT
// The versions of the decoder: the same source compiled for several kinds of processor. All give the same bytes.
//
// A version is a row of functions; version_functions.h says what each does. The versions that a library has are
// declared here, those of the tests with the tests.
#pragma once

#include <cstdint>

struct AmbeFrame;
struct Tone;
struct ChannelQuality;
struct Harmonics;
struct MbeSynthesis;
struct RunningEnergy;
struct Spectrum;
struct SpeechModel;
struct ToneModel;

constexpr int frame_samples = 160;  // 20 ms at 8000 Hz, from the middle of one frame to the middle of the next
constexpr int transform_samples = 256;

// The arguments say their lengths, and no function is needed to take them.
using SpeechBlock = float[frame_samples];
using PcmBlock = std::int16_t[frame_samples];
using TransformBlock = float[transform_samples];

struct DecoderVersion {
    const char* name;
    void (*model_decode)(const AmbeFrame& frame, SpeechModel& model);
    void (*model_repeat_shape)(const AmbeFrame& frame, SpeechModel& model);
    void (*harmonics_enhance)(Harmonics& harmonics, RunningEnergy& energy, ChannelQuality quality);
    void (*synthesis_start)(MbeSynthesis& synthesis);
    void (*synthesize)(MbeSynthesis& synthesis, const Harmonics& harmonics, SpeechBlock& samples);
    void (*tone_samples)(Tone& tone, const ToneModel* model, SpeechBlock& samples);
    void (*pcm_output)(const SpeechBlock& speech, const SpeechBlock& tone, PcmBlock& samples);
    void (*noise_words)(std::uint32_t& state, std::uint32_t* words, int count);
    void (*noise_samples)(std::uint32_t& state, float* samples, int count);
    void (*transform_forward)(const TransformBlock& samples, Spectrum& spectrum);
    void (*transform_back)(const Spectrum& spectrum, TransformBlock& samples);
};

namespace baseline {
extern const DecoderVersion decoder_version;
}
#ifdef __x86_64__
namespace avx2 {
extern const DecoderVersion decoder_version;
}
#endif

// The fastest version that this processor can run.
const DecoderVersion& decoder_version_of_this_processor();
