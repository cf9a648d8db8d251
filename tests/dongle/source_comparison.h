// SPDX-License-Identifier: MIT
// How well decoded speech resembles what was encoded: figures that need no golden parameters.
#pragma once

#include <span>
#include <string>

#include "golden_audio.h"

struct SourceFigures {
    double lag_ms = 0;    // how late the decoded speech comes: where the envelopes agree best, 0 to 120 ms
    double env = 0;       // correlation of the levels in dB of frames of 20 ms, at that lag
    double level_db = 0;  // power of the decoded active speech against the source's
    double stoi = 0;  // short-time objective intelligibility (Taal, Hendriks, Heusdens, Jensen, IEEE TASLP 19(7), 2011)
    double mel_lsd_db = 0;  // log-spectral distance in 20 mel bands over active frames, level taken out
};

// Both at 8000 Hz.
SourceFigures source_figures(std::span<const std::int16_t> source, std::span<const std::int16_t> decoded);
std::string to_text(const SourceFigures& figures);

// The two measures by themselves, for signals that are aligned already.
double stoi(std::span<const double> clean_8khz, std::span<const double> other_8khz);
double mel_distance_db(std::span<const double> clean, std::span<const double> other);
