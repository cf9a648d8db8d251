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

struct NoiseBlocks;
struct UnvoicedHarmonics;

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

// synthesis/voiced: adds the sinusoids of the 160 samples from the middle of frame `before` to the middle of `now`.
void voiced_synthesis(const VoicedHarmonics& before, const VoicedHarmonics& now, SpeechBlock& samples);

// synthesis/oscillators: adds the first 8 x `block_count` samples of all oscillators to `samples`. What follows the
// last oscillator is made silent, up to a whole group of eight. block_count: even.
void add_oscillators(Oscillators& oscillators, int block_count, float* samples);

// synthesis/unvoiced: start of a recording; draws 128 values for a silent block in the middle of the frame before.
void unvoiced_start(NoiseBlocks& blocks, std::uint32_t& noise);

// Writes the noise of 160 samples: two blocks, their middles at sample 80 and 160, 80 values drawn for each. `noise` is
// the state of the generator.
void unvoiced_synthesis(NoiseBlocks& blocks, const UnvoicedHarmonics& harmonics, std::uint32_t& noise,
                        SpeechBlock& samples);

// synthesis/transform: replaces x(0..127) by X(k) = sum over n of x(n) e^(-2 pi i k n / 128), both in order. With real
// and imaginary parts exchanged it is the way back, times 128.
void transform(TransformBlock& re, TransformBlock& im);

// synthesis/noise: fills `words` with the `count` states after `state`, which becomes the last of them. count: a
// multiple of 8, at most 160.
void noise_words(std::uint32_t& state, std::uint32_t* words, int count);

// synthesis/tone: adds the next 160 samples of `tone`; `model` is the frame's, null when it is none of a tone. Another
// tone begins with phase 0; beginnings, ends and changes of volume take 2 ms.
void add_tone(Tone& tone, const ToneModel* model, SpeechBlock& samples);

// synthesis/pcm_output: rounds to the nearest. While a peak is above 32000 the gain falls as far as it takes, and comes
// back slowly after it; what is too loud before the gain has fallen is cut off at -32767 and 32767. With a gain of 1
// samples pass unchanged.
void pcm_output(Limiter& limiter, const SpeechBlock& speech, PcmSamples& samples);

}  // namespace DECODER_VERSION
