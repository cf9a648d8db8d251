// SPDX-License-Identifier: MIT
#include "golden_audio.h"

#include <gtest/gtest.h>
#include <sndfile.h>

#include <algorithm>
#include <cmath>

namespace {

constexpr double noise_gain = 146.643269;  // level of the unvoiced part against the magnitudes
constexpr double window_energy = 143.34;   // sum of the squared synthesis window

// The fundamental that six digits stand for: that of the nearest pitch index, or (silence) the number itself. Over a
// file the rounding would add up in the phases.
double exact_fundamental(double rounded) {
    const double index = std::round((std::log2(0.4627 / rounded) - 4.1261) / 0.02179);
    const double exact = 0.4627 / std::exp2(4.1261 + 0.02179 * index);
    return std::abs(exact - rounded) < 1e-5 * rounded ? exact : rounded;
}

}  // namespace

std::vector<GoldenFrame> golden_frames(const std::string& name) {
    std::vector<GoldenFrame> frames;
    for (const GoldenRow& row : golden_table(name)) {
        GoldenFrame& frame = frames.emplace_back();
        frame.action = row.at("action");
        frame.magnitude = reals(row, "M_out");
        for (const char digit : row.at("voiced_out")) frame.voiced.push_back(digit == '1');
        if (!frame.magnitude.empty()) frame.fundamental = exact_fundamental(real(row, "f0"));
        frame.rms = real(row, "rms");
        EXPECT_EQ(frame.voiced.size(), frame.magnitude.size());
    }
    return frames;
}

std::vector<BandPowers> golden_bands(const std::string& name) {
    std::vector<BandPowers> frames;
    for (const GoldenRow& row : golden_table(name)) {
        BandPowers& powers = frames.emplace_back();
        for (std::size_t band = 0; band < band_count; ++band) powers[band] = real(row, "band" + std::to_string(band));
    }
    return frames;
}

Pcm source_samples(const std::string& name) {
    SF_INFO info{};
    SNDFILE* file = sf_open(data_path(name).c_str(), SFM_READ, &info);
    EXPECT_NE(file, nullptr) << name;
    if (file == nullptr) return {};
    EXPECT_EQ(info.samplerate, 8000);
    EXPECT_EQ(info.channels, 1);
    Pcm samples(static_cast<std::size_t>(info.frames));
    EXPECT_EQ(sf_read_short(file, samples.data(), info.frames), info.frames);
    sf_close(file);
    return samples;
}

int first_bin(double fundamental, int harmonic) {
    return static_cast<int>(std::ceil(256 * fundamental * (harmonic - 0.5)));
}

int end_bin(double fundamental, int harmonic) {
    return std::min(128, static_cast<int>(std::ceil(256 * fundamental * (harmonic + 0.5))));
}

double harmonic_power(const GoldenFrame& frame, std::size_t harmonic) {
    const double magnitude = frame.magnitude[harmonic - 1];
    if (frame.voiced[harmonic - 1]) return 2 * magnitude * magnitude;
    const int l = static_cast<int>(harmonic);
    const int bins = std::max(0, end_bin(frame.fundamental, l) - first_bin(frame.fundamental, l));
    return 2 * bins * std::pow(noise_gain * magnitude, 2) / (256 * window_energy);
}

double unvoiced_share(const GoldenFrame& frame) {
    double unvoiced = 0;
    double all = 0;
    for (std::size_t l = 1; l <= frame.magnitude.size(); ++l) {
        const double power = harmonic_power(frame, l);
        all += power;
        if (!frame.voiced[l - 1]) unvoiced += power;
    }
    return all > 0 ? unvoiced / all : 0;
}
