// SPDX-License-Identifier: MIT
// The coders once more, worked out without the program's own: G.711 by its decision intervals, IMA ADPCM by
// thresholds, GSM 06.10 by libgsm itself; and the whole files that they give.
#pragma once

#include <gsm.h>

#include <memory>
#include <vector>

#include "support/bytes.h"

// Lower ends of the 128 decision intervals, for 16-bit samples (ITU-T G.711, tables 1 and 2).
std::vector<int> alaw_decision_values();
std::vector<int> ulaw_decision_values();
// The number of decision values that the magnitude reaches, less one.
int interval_of(const std::vector<int>& decision_values, int magnitude);
// Kept: -32768 has the code of the smallest negative interval.
std::uint8_t alaw_code(int sample);
std::uint8_t ulaw_code(int sample);

// IMA ADPCM (IMA, "Recommended Practices for Enhancing Digital Audio Compatibility in Multimedia Systems", revision
// 3.00, 1992).
extern const int ima_steps[89];
struct ImaState {
    int predictor = 0;
    int index = 0;
    bool operator==(const ImaState&) const = default;
};
// The code is the largest whose threshold the difference reaches.
int ima_code(ImaState& state, int sample);
// The sample that a code stands for, in the multiply form.
int ima_sample(ImaState& state, int code);
// First sample of a pair in the high nibble; an odd last one with a zero low nibble.
Bytes ima_codes(ImaState& state, const std::vector<int>& samples);

struct GsmRelease {
    void operator()(gsm coder) const { gsm_destroy(coder); }
};
using GsmPtr = std::unique_ptr<gsm_state, GsmRelease>;
GsmPtr new_gsm_coder(int wave_layout = 1);
// What libgsm puts down for the 160 samples from `from` on, in 34 bytes that were all ones.
Bytes coded_gsm_frame(const GsmPtr& coder, const std::vector<int>& samples, std::size_t from);

// How many whole input blocks of `size` are coded of `total` bytes: the last one only when a byte follows it.
std::size_t coded_inputs(std::size_t total, std::size_t size);

struct ReferenceFile {
    const char* option;
    Bytes (*file)(const Bytes& pcm);  // the whole WAVE file
};
extern const ReferenceFile reference_files[4];
