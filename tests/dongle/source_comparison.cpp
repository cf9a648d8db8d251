// SPDX-License-Identifier: MIT
#include "source_comparison.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <complex>
#include <numbers>
#include <numeric>
#include <sstream>

#include "correlation.h"

namespace {

using Signal = std::vector<double>;
using Spectrum = std::vector<std::complex<double>>;

constexpr double pi = std::numbers::pi;
constexpr std::size_t frame_samples = 160;
constexpr double silence_db = -40;  // against the loudest (levels) or the loudest frame (intelligibility)

double power_db(double power) {
    return 10 * std::log10(power + 1e-12);
}

constexpr std::size_t largest_transform = 512;

// e^(-2 pi i k / 512)
const Spectrum& roots() {
    static const Spectrum table = [] {
        Spectrum values;
        for (std::size_t k = 0; k < largest_transform; ++k)
            values.push_back(std::polar(1.0, -2 * pi * static_cast<double>(k) / largest_transform));
        return values;
    }();
    return table;
}

// Radix-2 transform, decimation in frequency: the bins come out with their numbers' bits reversed.
void transform(std::span<std::complex<double>> x) {
    for (std::size_t half = x.size() / 2; half > 0; half /= 2)
        for (std::size_t start = 0; start < x.size(); start += 2 * half)
            for (std::size_t k = start; k < start + half; ++k) {
                const std::complex<double> difference = x[k] - x[k + half];
                x[k] += x[k + half];
                x[k + half] = difference * roots()[(k - start) * (largest_transform / 2 / half)];
            }
}

std::size_t reversed_bits(std::size_t number, std::size_t size) {
    std::size_t reversed = 0;
    for (std::size_t bit = 1; bit < size; bit *= 2) reversed = 2 * reversed + ((number & bit) != 0 ? 1 : 0);
    return reversed;
}

// Hann window of 256 without its zeros.
const Signal& hann_256() {
    static const Signal table = [] {
        Signal values;
        for (int n = 1; n <= 256; ++n) values.push_back(0.5 - 0.5 * std::cos(2 * pi * n / 257));
        return values;
    }();
    return table;
}

// |X|^2 of 256 samples under the window, padded with zeros to `size`.
Signal power_spectrum(std::span<const double> piece, std::size_t size) {
    Spectrum x(size);
    for (std::size_t n = 0; n < piece.size(); ++n) x[n] = piece[n] * hann_256()[n];
    transform(x);
    Signal power(size / 2 + 1);
    for (std::size_t k = 0; k < power.size(); ++k) power[k] = std::norm(x[reversed_bits(k, size)]);
    return power;
}

double power_of(std::span<const double> piece) {
    return std::inner_product(piece.begin(), piece.end(), piece.begin(), 0.0) / static_cast<double>(piece.size());
}

Signal frame_powers(std::span<const double> signal) {
    Signal powers;
    for (std::size_t at = 0; at + frame_samples <= signal.size(); at += frame_samples)
        powers.push_back(power_of(signal.subspan(at, frame_samples)));
    return powers;
}

// The power from which on a frame is no silence.
double least_power(const Signal& powers) {
    return *std::ranges::max_element(powers) * std::pow(10, silence_db / 10);
}

// Levels below the silence threshold of the source count as that threshold: silence is silence.
double envelope_correlation(std::span<const double> source, std::span<const double> decoded) {
    Signal x = frame_powers(source), y = frame_powers(decoded);
    const double least = least_power(x);
    for (double& power : x) power = power_db(std::max(power, least));
    for (double& power : y) power = power_db(std::max(power, least));
    const std::size_t count = std::min(x.size(), y.size());
    return correlation(std::span(x).first(count), std::span(y).first(count));
}

double active_level_db(std::span<const double> source, std::span<const double> decoded) {
    const Signal x = frame_powers(source), y = frame_powers(decoded);
    const double least = least_power(x);
    double in = 0, out = 0;
    for (std::size_t k = 0; k < std::min(x.size(), y.size()); ++k) {
        if (x[k] < least) continue;
        in += x[k];
        out += y[k];
    }
    return power_db(out / in);
}

// ---- intelligibility: constants of the published measure ----
constexpr std::size_t stoi_window = 256;  // at 10 kHz, half overlapping
constexpr std::size_t stoi_hop = 128;
constexpr std::size_t stoi_transform = 512;
constexpr std::size_t stoi_bands = 15;      // third octaves from 150 Hz
constexpr std::size_t stoi_segment = 30;    // frames: 384 ms
constexpr double stoi_clip = 1 + 5.623413;  // 1 + 10^(15/20)

constexpr std::ptrdiff_t sinc_reach = 32;

// Hann-windowed sinc for the five places that a sample at 10 kHz can have between two at 8 kHz.
std::array<Signal, 5> sinc_rows() {
    std::array<Signal, 5> rows;
    for (std::size_t phase = 0; phase < rows.size(); ++phase)
        for (std::ptrdiff_t k = 1 - sinc_reach; k <= sinc_reach; ++k) {
            const double distance = static_cast<double>(k) - static_cast<double>(phase) / 5;
            const double sinc = distance == 0 ? 1 : std::sin(pi * distance) / (pi * distance);
            rows[phase].push_back(sinc * (0.5 + 0.5 * std::cos(pi * distance / sinc_reach)));
        }
    return rows;
}

// From 8000 to 10000 Hz.
Signal to_10khz(std::span<const double> signal) {
    static const std::array<Signal, 5> rows = sinc_rows();
    Signal result(signal.size() * 5 / 4);
    for (std::size_t m = 0; m < result.size(); ++m) {
        const std::ptrdiff_t first = static_cast<std::ptrdiff_t>(m * 4 / 5) + 1 - sinc_reach;
        const Signal& row = rows[m * 4 % 5];
        for (std::size_t k = 0; k < row.size(); ++k) {
            const std::ptrdiff_t at = first + static_cast<std::ptrdiff_t>(k);
            if (at >= 0 && at < static_cast<std::ptrdiff_t>(signal.size()))
                result[m] += row[k] * signal[static_cast<std::size_t>(at)];
        }
    }
    return result;
}

// The frames of the clean signal within 40 dB of its loudest.
std::vector<std::size_t> speech_frames(std::span<const double> clean) {
    Signal powers;
    for (std::size_t at = 0; at + stoi_window <= clean.size(); at += stoi_hop)
        powers.push_back(power_of(clean.subspan(at, stoi_window)));
    const double least = least_power(powers);
    std::vector<std::size_t> frames;
    for (std::size_t k = 0; k < powers.size(); ++k)
        if (powers[k] > least) frames.push_back(k * stoi_hop);
    return frames;
}

// Without the silent frames: the windowed frames that stay, overlapped again.
Signal without_silence(std::span<const double> signal, const std::vector<std::size_t>& frames) {
    Signal result((frames.size() - 1) * stoi_hop + stoi_window);
    for (std::size_t k = 0; k < frames.size(); ++k)
        for (std::size_t n = 0; n < stoi_window; ++n) result[k * stoi_hop + n] += hann_256()[n] * signal[frames[k] + n];
    return result;
}

std::size_t nearest_bin(double hz) {
    return static_cast<std::size_t>(std::lround(hz * stoi_transform / 10000));
}

// One row a band: the magnitudes of the third octave in each frame.
std::array<Signal, stoi_bands> third_octaves(std::span<const double> signal) {
    std::array<Signal, stoi_bands> bands;
    for (std::size_t at = 0; at + stoi_window <= signal.size(); at += stoi_hop) {
        const Signal power = power_spectrum(signal.subspan(at, stoi_window), stoi_transform);
        for (std::size_t band = 0; band < stoi_bands; ++band) {
            const double centre = 150 * std::pow(2, static_cast<double>(band) / 3);
            double sum = 0;
            const std::size_t end = nearest_bin(centre * std::pow(2, 1.0 / 6));
            for (std::size_t k = nearest_bin(centre / std::pow(2, 1.0 / 6)); k < end; ++k) sum += power[k];
            bands[band].push_back(std::sqrt(sum));
        }
    }
    return bands;
}

double segment_correlation(std::span<const double> clean, std::span<const double> other) {
    const double scale = std::sqrt(power_of(clean) / (power_of(other) + 1e-12));
    Signal clipped;
    for (std::size_t k = 0; k < clean.size(); ++k) clipped.push_back(std::min(other[k] * scale, clean[k] * stoi_clip));
    return correlation(clean, clipped);
}

// ---- log-spectral distance in mel bands ----
constexpr std::size_t mel_bands = 20;
constexpr double mel_low_hz = 100, mel_high_hz = 3800;
constexpr std::size_t mel_transform = 256;

double to_mel(double hz) {
    return 2595 * std::log10(1 + hz / 700);
}
double to_hz(double mel) {
    return 700 * (std::pow(10, mel / 2595) - 1);
}

std::array<double, mel_bands> mel_powers(std::span<const double> piece) {
    const Signal power = power_spectrum(piece, mel_transform);
    const double step = (to_mel(mel_high_hz) - to_mel(mel_low_hz)) / (mel_bands + 1);
    std::array<double, mel_bands> powers{};
    for (std::size_t band = 0; band < mel_bands; ++band) {
        const double low = to_hz(to_mel(mel_low_hz) + step * static_cast<double>(band));
        const double centre = to_hz(to_mel(mel_low_hz) + step * static_cast<double>(band + 1));
        const double high = to_hz(to_mel(mel_low_hz) + step * static_cast<double>(band + 2));
        for (std::size_t k = 0; k < power.size(); ++k) {
            const double hz = 8000.0 * static_cast<double>(k) / mel_transform;
            const double weight = hz < centre ? (hz - low) / (centre - low) : (high - hz) / (high - centre);
            powers[band] += std::max(0.0, weight) * power[k];
        }
    }
    return powers;
}

}  // namespace

double stoi(std::span<const double> clean_8khz, std::span<const double> other_8khz) {
    const Signal clean = to_10khz(clean_8khz), other = to_10khz(other_8khz);
    const auto frames = speech_frames(clean);
    const auto x = third_octaves(without_silence(clean, frames));
    const auto y = third_octaves(without_silence(other, frames));
    double sum = 0;
    std::size_t count = 0;
    for (std::size_t band = 0; band < stoi_bands; ++band)
        for (std::size_t at = 0; at + stoi_segment <= x[band].size(); ++at, ++count)
            sum += segment_correlation(std::span(x[band]).subspan(at, stoi_segment),
                                       std::span(y[band]).subspan(at, stoi_segment));
    return sum / static_cast<double>(count);
}

double mel_distance_db(std::span<const double> clean, std::span<const double> other) {
    const double least = least_power(frame_powers(clean));
    const double level = active_level_db(clean, other);
    double sum = 0;
    std::size_t count = 0;
    for (std::size_t at = 0; at + mel_transform <= std::min(clean.size(), other.size()); at += frame_samples) {
        if (power_of(clean.subspan(at, mel_transform)) < least) continue;
        const auto x = mel_powers(clean.subspan(at, mel_transform)), y = mel_powers(other.subspan(at, mel_transform));
        double squares = 0;
        for (std::size_t band = 0; band < mel_bands; ++band)
            squares += std::pow(power_db(y[band] + 1) - level - power_db(x[band] + 1), 2);
        sum += std::sqrt(squares / mel_bands);
        ++count;
    }
    return sum / static_cast<double>(count);
}

SourceFigures source_figures(std::span<const std::int16_t> source, std::span<const std::int16_t> decoded) {
    constexpr std::size_t longest_lag = 960, lag_step = 20;
    const Signal clean(source.begin(), source.end());
    Signal other(decoded.begin(), decoded.end());
    other.resize(std::max(other.size(), clean.size() + longest_lag));
    SourceFigures figures;
    std::size_t best = 0;
    for (std::size_t lag = 0; lag <= longest_lag; lag += lag_step) {
        const double env = envelope_correlation(clean, std::span(other).subspan(lag, clean.size()));
        if (env <= figures.env) continue;
        figures.env = env;
        best = lag;
    }
    const auto aligned = std::span(other).subspan(best, clean.size());
    figures.lag_ms = static_cast<double>(best) / 8;
    figures.level_db = active_level_db(clean, aligned);
    figures.stoi = stoi(clean, aligned);
    figures.mel_lsd_db = mel_distance_db(clean, aligned);
    return figures;
}

std::string to_text(const SourceFigures& figures) {
    std::ostringstream text;
    text.precision(4);
    text << "lag " << figures.lag_ms << " ms, env " << figures.env << ", level " << figures.level_db << " dB, stoi "
         << figures.stoi << ", mel-band lsd " << figures.mel_lsd_db << " dB";
    return text.str();
}
