// SPDX-License-Identifier: MIT
#include "audio_check.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <complex>
#include <numbers>
#include <numeric>
#include <sstream>

#include "correlation.h"

namespace {

constexpr std::size_t transform_size = 256;
constexpr double bin_hz = 8000.0 / transform_size;
constexpr double band_edges_hz[band_count + 1] = {0, 500, 1000, 1500, 2000, 2500, 3000, 3800};

constexpr double expected_gain = 0.955;  // the overlap of blocks and the dispersion lose the rest
constexpr double gain_tolerance = 0.03;
constexpr double ltas_limit_db = 1.5;
constexpr double median_limit_db = 2.0;
constexpr double p90_limit_db = 6.0;
constexpr double env_limit = 0.95;
constexpr double voicing_limit_db = 1.5;

double decibel(double ratio) {
    return 10 * std::log10(ratio);
}
double sum(const BandPowers& powers) {
    return std::accumulate(powers.begin(), powers.end(), 0.0);
}

struct Tables {
    std::array<double, transform_size> hann;
    std::array<std::complex<double>, transform_size> root;  // e^(-2 pi i k / 256)
    double hann_energy = 0;
};

Tables make_tables() {
    Tables tables;
    for (std::size_t n = 0; n < transform_size; ++n) {
        const double angle = 2 * std::numbers::pi * static_cast<double>(n) / transform_size;
        tables.hann[n] = 0.5 - 0.5 * std::cos(angle);
        tables.root[n] = std::polar(1.0, -angle);
        tables.hann_energy += tables.hann[n] * tables.hann[n];
    }
    return tables;
}

double bin_power(std::span<const double> windowed, std::size_t bin, const Tables& tables) {
    std::complex<double> spectrum = 0;
    for (std::size_t n = 0; n < transform_size; ++n) spectrum += windowed[n] * tables.root[bin * n % transform_size];
    const double both_sides = bin == 0 ? 1 : 2;
    return both_sides * std::norm(spectrum) / (transform_size * tables.hann_energy);
}

BandPowers bands_of(std::span<const std::int16_t> samples, const Tables& tables) {
    std::array<double, transform_size> windowed;
    for (std::size_t n = 0; n < transform_size; ++n) windowed[n] = samples[n] * tables.hann[n];
    BandPowers powers{};
    for (std::size_t band = 0; band < band_count; ++band)
        for (std::size_t bin = 0; bin < transform_size / 2; ++bin)
            if (bin_hz * static_cast<double>(bin) >= band_edges_hz[band] &&
                bin_hz * static_cast<double>(bin) < band_edges_hz[band + 1])
                powers[band] += bin_power(windowed, bin, tables);
    return powers;
}

// Loud: above a thousandth of the 95th percentile of the power; the last frame has no samples after its centre.
std::vector<std::size_t> loud_frames(std::span<const BandPowers> expected, std::size_t measured) {
    std::vector<double> sums;
    for (const BandPowers& powers : expected) sums.push_back(sum(powers));
    std::vector<double> sorted = sums;
    std::ranges::sort(sorted);
    const double threshold = 0.001 * sorted[static_cast<std::size_t>(0.95 * static_cast<double>(sorted.size() - 1))];
    std::vector<std::size_t> loud;
    for (std::size_t frame = 0; frame < measured; ++frame)
        if (sums[frame] > threshold) loud.push_back(frame);
    return loud;
}

// The frames that count, their powers asked for and (after the gain is taken out) measured.
struct Comparison {
    std::vector<std::size_t> loud;
    std::span<const BandPowers> expected;
    std::vector<BandPowers> measured;
};

double take_out_gain(Comparison& comparison) {
    double asked = 0, got = 0;
    for (const std::size_t frame : comparison.loud) {
        asked += sum(comparison.expected[frame]);
        got += sum(comparison.measured[frame]);
    }
    for (BandPowers& powers : comparison.measured)
        for (double& power : powers) power *= asked / got;
    return std::sqrt(got / asked);
}

double long_term_deviation(const Comparison& comparison) {
    double largest = 0;
    for (std::size_t band = 0; band < band_count; ++band) {
        double asked = 0, got = 0;
        for (const std::size_t frame : comparison.loud) {
            asked += comparison.expected[frame][band];
            got += comparison.measured[frame][band];
        }
        largest = std::max(largest, std::abs(decibel(got / asked)));
    }
    return largest;
}

std::vector<double> sorted_deviations(const Comparison& comparison) {
    constexpr double least_share = 0.01;
    std::vector<double> deviations;
    for (const std::size_t frame : comparison.loud)
        for (std::size_t band = 0; band < band_count; ++band) {
            const double asked = comparison.expected[frame][band];
            if (asked <= least_share * sum(comparison.expected[frame])) continue;
            const double got = std::max(comparison.measured[frame][band], 1e-9);
            deviations.push_back(std::abs(decibel(got / asked)));
        }
    std::ranges::sort(deviations);
    return deviations;
}

double percentile(const std::vector<double>& sorted, double fraction) {
    return sorted[static_cast<std::size_t>(fraction * static_cast<double>(sorted.size() - 1))];
}

double envelope_correlation(const Comparison& comparison) {
    std::vector<double> asked, got;
    for (const std::size_t frame : comparison.loud) {
        asked.push_back(std::log10(sum(comparison.expected[frame])));
        got.push_back(std::log10(std::max(sum(comparison.measured[frame]), 1e-9)));
    }
    return correlation(asked, got);
}

double voicing_balance(const Comparison& comparison, std::span<const double> share) {
    constexpr double mostly_unvoiced = 0.9, mostly_voiced = 0.1;
    double asked_unvoiced = 0, got_unvoiced = 0, asked_voiced = 0, got_voiced = 0;
    for (const std::size_t frame : comparison.loud) {
        if (share[frame] >= mostly_unvoiced) {
            asked_unvoiced += sum(comparison.expected[frame]);
            got_unvoiced += sum(comparison.measured[frame]);
        } else if (share[frame] <= mostly_voiced) {
            asked_voiced += sum(comparison.expected[frame]);
            got_voiced += sum(comparison.measured[frame]);
        }
    }
    return decibel(got_unvoiced / asked_unvoiced) - decibel(got_voiced / asked_voiced);
}

}  // namespace

std::vector<BandPowers> measured_bands(std::span<const std::int16_t> pcm) {
    static const Tables tables = make_tables();
    std::vector<BandPowers> frames;
    for (std::size_t centre = block_samples; centre + transform_size / 2 <= pcm.size(); centre += block_samples)
        frames.push_back(bands_of(pcm.subspan(centre - transform_size / 2, transform_size), tables));
    return frames;
}

AudioFigures audio_figures(std::span<const std::int16_t> pcm, std::span<const BandPowers> expected,
                           std::span<const double> share) {
    Comparison comparison{{}, expected, measured_bands(pcm)};
    comparison.loud = loud_frames(expected, comparison.measured.size());
    AudioFigures figures;
    figures.frames = comparison.loud.size();
    figures.gain = take_out_gain(comparison);
    figures.ltas_db = long_term_deviation(comparison);
    const std::vector<double> deviations = sorted_deviations(comparison);
    figures.median_db = percentile(deviations, 0.5);
    figures.p90_db = percentile(deviations, 0.9);
    figures.env = envelope_correlation(comparison);
    figures.voicing_db = voicing_balance(comparison, share);
    return figures;
}

// Written so that a figure that is no number is beyond its limit.
std::string beyond_limits(const AudioFigures& figures) {
    std::string names;
    if (!(std::abs(figures.gain / expected_gain - 1) <= gain_tolerance)) names += "gain ";
    if (!(figures.ltas_db <= ltas_limit_db)) names += "ltas ";
    if (!(figures.median_db <= median_limit_db)) names += "median ";
    if (!(figures.p90_db <= p90_limit_db)) names += "p90 ";
    if (!(figures.env >= env_limit)) names += "env ";
    if (!(std::abs(figures.voicing_db) <= voicing_limit_db)) names += "voicing ";
    if (!names.empty()) names.pop_back();
    return names;
}

std::string to_text(const AudioFigures& figures) {
    std::ostringstream text;
    text.precision(4);
    text << "gain " << figures.gain << ", ltas " << figures.ltas_db << " dB, median " << figures.median_db
         << " dB, p90 " << figures.p90_db << " dB, env " << figures.env << ", voicing " << figures.voicing_db
         << " dB over " << figures.frames << " loud frames";
    return text.str();
}
