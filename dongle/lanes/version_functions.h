// SPDX-License-Identifier: MIT
// All functions that exist once for each version of the decoder, in the namespace that is named after the version.
//
// Their sources are compiled with DECODER_VERSION, that name. Everybody else takes them from the row of a version
// (decoder_version.h).
#pragma once

#include "lanes/decoder_version.h"

#ifndef DECODER_VERSION
#error "version_functions.h is for the sources of one version of the decoder"
#endif

struct PhaseStep;

namespace DECODER_VERSION {

// ambe/ambe_model: turns `model`, that of the voice or silence frame before, into that of `frame`, a voice or silence
// frame.
void ambe_model_decode(const AmbeFrame& frame, SpeechModel& model);

// The same for a voice frame of which the second word is lost: pitch, voicing and gain are its own, the shape of the
// spectrum is that of `model`.
void ambe_model_repeat_shape(const AmbeFrame& frame, SpeechModel& model);

// ambe/harmonics_enhance: deepens the valleys between the formants and raises the treble a little; in damaged frames
// limits how much louder they are than those before, and makes the loudest harmonics voiced; bounds the amplitude.
// `energy` moves on by this frame.
void harmonics_enhance(Harmonics& harmonics, RunningEnergy& energy, ChannelQuality quality);

// synthesis/mbe_synthesis: start of a recording: silence, all phases 0, the noise at its beginning.
void mbe_synthesis_start(MbeSynthesis& synthesis);

// Writes the 160 samples from the middle of the frame before to the middle of this one, which has `harmonics`.
void mbe_synthesize(MbeSynthesis& synthesis, const Harmonics& harmonics, SpeechBlock& samples);

// synthesis/voiced: writes the voiced part to `samples`.
void voiced_synthesis(const MbeSynthesis& synthesis, const Harmonics& harmonics, const PhaseStep& step,
                      SpeechBlock& samples);

// synthesis/unvoiced: adds the unvoiced part to `samples` and keeps this frame's share for the next frame.
void unvoiced_synthesis(MbeSynthesis& synthesis, const Harmonics& harmonics, SpeechBlock& samples);

// synthesis/noise: fills `words` with the `count` states after `state`, which becomes the last of them. count: a
// multiple of 8.
void noise_words(std::uint32_t& state, std::uint32_t* words, int count);

// The same as noise samples, from -1 to 1.
void noise_samples(std::uint32_t& state, float* samples, int count);

// synthesis/transform: X(m) = sum over n of x(n) e^(-2 pi i m n / 256).
void transform_forward(const TransformBlock& samples, Spectrum& spectrum);

// 256 times the inverse transform: forward and back multiplies by 256. Imaginary bin 0 and bin 128 count as 0.
void transform_back(const Spectrum& spectrum, TransformBlock& samples);

// synthesis/tone: writes the next 160 samples of `tone`; `model` is the frame's, null when it is none of a tone. Another
// tone begins with phase 0; beginnings, ends and changes of volume take 2 ms.
void tone_samples(Tone& tone, const ToneModel* model, SpeechBlock& samples);

// synthesis/pcm_output: speech and tone together, rounded to the nearest, cut off at -32767 and 32767.
void pcm_output(const SpeechBlock& speech, const SpeechBlock& tone, PcmBlock& samples);

}  // namespace DECODER_VERSION
