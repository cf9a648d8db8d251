// SPDX-License-Identifier: MIT
#include "golden_audio.h"

#include <gtest/gtest.h>
#include <sndfile.h>

#include <algorithm>
#include <cmath>
#include <fstream>
#include <sstream>
#include <string_view>

#include "support/temp_dir.h"

namespace {

constexpr double noise_gain = 146.643269;  // level of the unvoiced part against the magnitudes
constexpr double window_energy = 143.34;   // sum of the squared synthesis window
constexpr std::size_t dvtool_header_bytes = 10;
constexpr std::size_t frame_in_record = 15;

std::string data_path(const std::string& name) {
    return std::string(TEST_DATA_DIR) + "/" + name;
}

std::vector<std::string> split(const std::string& line, char separator) {
    std::vector<std::string> cells;
    std::string cell;
    for (std::istringstream in(line); std::getline(in, cell, separator);) cells.push_back(cell);
    return cells;
}

// The rows below the header line.
std::vector<std::vector<std::string>> csv_rows(const std::string& name, std::vector<std::string>& header) {
    std::ifstream file(data_path(name));
    EXPECT_TRUE(file.is_open()) << name;
    std::string line;
    std::getline(file, line);
    header = split(line, ',');
    std::vector<std::vector<std::string>> rows;
    while (std::getline(file, line)) rows.push_back(split(line, ','));
    return rows;
}

std::size_t column(const std::vector<std::string>& header, std::string_view name) {
    const auto found = std::find(header.begin(), header.end(), name);
    EXPECT_NE(found, header.end()) << name;
    return static_cast<std::size_t>(found - header.begin());
}

std::vector<double> numbers(const std::string& text) {
    std::vector<double> values;
    for (const std::string& cell : split(text, ' ')) values.push_back(std::stod(cell));
    return values;
}

// The fundamental that six digits stand for: that of the nearest pitch index, or (silence) the number itself. Over a
// file the rounding would add up in the phases.
double exact_fundamental(double rounded) {
    const double index = std::round((std::log2(0.4627 / rounded) - 4.1261) / 0.02179);
    const double exact = 0.4627 / std::exp2(4.1261 + 0.02179 * index);
    return std::abs(exact - rounded) < 1e-5 * rounded ? exact : rounded;
}

std::size_t length_at(const Bytes& content, std::size_t at) {
    return content[at] + 256u * content[at + 1];
}

AmbeFrameBytes frame_at(const Bytes& content, std::size_t at) {
    AmbeFrameBytes frame;
    std::copy_n(content.begin() + static_cast<std::ptrdiff_t>(at), frame.size(), frame.begin());
    return frame;
}

}  // namespace

std::vector<AmbeFrameBytes> raw_frames(const std::string& name) {
    const Bytes content = read_file(data_path(name));
    std::vector<AmbeFrameBytes> frames;
    for (std::size_t at = 0; at + 12 <= content.size(); at += 12) frames.push_back(frame_at(content, at));
    return frames;
}

//   offset  0               10   12          12 + L0
//          ┌───────────────┬────┬───────────┬───┬────────────────────────────────┐
//          │ DVTOOL header │ L0 │ L0 bytes  │ L │ L bytes, the frame at 15 to 26 │  length + record, again and again
//          └───────────────┴────┴───────────┴───┴────────────────────────────────┘
std::vector<AmbeFrameBytes> dvtool_frames(const std::string& name) {
    const Bytes content = read_file(data_path(name));
    std::vector<AmbeFrameBytes> frames;
    std::size_t at = dvtool_header_bytes + 2 + length_at(content, dvtool_header_bytes);
    while (at + 2 + frame_in_record + 12 <= content.size()) {
        frames.push_back(frame_at(content, at + 2 + frame_in_record));
        at += 2 + length_at(content, at);
    }
    return frames;
}

std::vector<GoldenFrame> golden_frames(const std::string& name) {
    std::vector<std::string> header;
    std::vector<GoldenFrame> frames;
    for (std::vector<std::string>& row : csv_rows(name, header)) {
        row.resize(header.size());
        GoldenFrame frame;
        frame.action = row[column(header, "action")];
        frame.magnitude = numbers(row[column(header, "M_out")]);
        for (const char digit : row[column(header, "voiced_out")]) frame.voiced.push_back(digit == '1');
        if (!frame.magnitude.empty()) {
            frame.fundamental = exact_fundamental(std::stod(row[column(header, "f0")]));
        }
        frame.rms = std::stod(row[column(header, "rms")]);
        EXPECT_EQ(frame.voiced.size(), frame.magnitude.size());
        frames.push_back(frame);
    }
    return frames;
}

std::vector<BandPowers> golden_bands(const std::string& name) {
    std::vector<std::string> header;
    std::vector<BandPowers> frames;
    for (const std::vector<std::string>& row : csv_rows(name, header)) {
        BandPowers powers{};
        for (std::size_t band = 0; band < band_count; ++band) powers[band] = std::stod(row.at(band + 1));
        frames.push_back(powers);
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
