// SPDX-License-Identifier: MIT
// A whole AMBE 3600x2400 decoder: 12 bytes in, 160 samples out, and what to do with frames damaged on the way.
//
// All state is in one record that the caller owns; nothing is allocated and nothing is global, so the same frames
// give the same samples wherever and however often they are decoded.
#pragma once

#include "ambe/ambe_frame.h"
#include "ambe/harmonics_enhance.h"
#include "lanes/decoder_version.h"
#include "speech_model.h"
#include "synthesis/mbe_synthesis.h"
#include "synthesis/pcm_output.h"
#include "synthesis/tone.h"

enum class FrameAction { voice, silence, tone, repeat, partial, mute };

struct DecoderCounts {
    long frames;          // decoded so far
    long corrected_bits;  // in frames that are not bad
    long repeated;        // in whole or in part
    long muted;
};

struct AmbeDecoder {
    const DecoderVersion* version;
    AmbeFrame frame;       // the last frame
    FrameAction action;    // what was made of it
    SpeechModel model;     // of the last voice or silence frame, as decoded
    Harmonics spoken;      // what was synthesised in the last frame: the model's, enhanced and smoothed, or muted
    RunningEnergy energy;  // of the models so far
    float error_rate;      // ER, an estimate of the channel's bit error rate
    int bad_frames;        // in a row
    MbeSynthesis synthesis;
    Tone tone;
    Limiter limiter;
    DecoderCounts counts;
};

// Start of a recording.
void ambe_decoder_start(AmbeDecoder& decoder, const DecoderVersion& version);

// Decodes one frame into 160 samples, -32767 to 32767. They lead from the middle of the frame before to the middle of
// this one.
void ambe_decode(AmbeDecoder& decoder, FrameBytes bytes, PcmSamples& samples);

// "voice", "silence", "tone", "repeat", "partial" or "mute".
const char* frame_action_name(FrameAction action);
