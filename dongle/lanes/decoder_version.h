// SPDX-License-Identifier: MIT
// The versions of the decoder: the same source compiled for several kinds of processor. All give the same bytes.
//
// A version is a row of functions; version_functions.h says what each does. The versions that a library has are
// declared here, those of the tests with the tests.
#pragma once

#include <cstdint>

struct AmbeFrame;
struct ChannelQuality;
struct Harmonics;
struct Limiter;
struct MbeSynthesis;
struct Oscillators;
struct RunningEnergy;
struct SpeechModel;
struct Tone;
struct ToneModel;
struct VoicedHarmonics;

constexpr int frame_samples = 160;  // 20 ms at 8000 Hz, from the middle of one frame to the middle of the next
constexpr int transform_size = 128;

// The arguments say their lengths, and no function is needed to take them.
using SpeechBlock = float[frame_samples];
using PcmSamples = std::int16_t[frame_samples];
using TransformBlock = float[transform_size];

struct DecoderVersion {
    const char* name;
    void (*model_decode)(const AmbeFrame& frame, SpeechModel& model);
    void (*model_repeat_shape)(const AmbeFrame& frame, SpeechModel& model);
    void (*harmonics_enhance)(Harmonics& harmonics, RunningEnergy& energy, ChannelQuality quality);
    void (*synthesis_start)(MbeSynthesis& synthesis);
    void (*synthesize)(MbeSynthesis& synthesis, const Harmonics& harmonics, SpeechBlock& samples);
    void (*voiced_synthesis)(const VoicedHarmonics& before, const VoicedHarmonics& now, SpeechBlock& samples);
    void (*add_oscillators)(Oscillators& oscillators, int block_count, float* samples);
    void (*transform)(TransformBlock& re, TransformBlock& im);
    void (*noise_words)(std::uint32_t& state, std::uint32_t* words, int count);
    void (*add_tone)(Tone& tone, const ToneModel* model, SpeechBlock& samples);
    void (*pcm_output)(Limiter& limiter, const SpeechBlock& speech, PcmSamples& samples);
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
