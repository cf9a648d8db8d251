// SPDX-License-Identifier: MIT
// Looks for a WAV file's samples in a recording of them and prints how well the best place matches.
//
//   compare_heard <recording, raw> <WAV file>     both 16 bits, mono, one rate; status 0 above 0.99
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <fstream>
#include <iterator>
#include <vector>

namespace {

constexpr std::size_t wave_head_bytes = 44;
constexpr double least_correlation = 0.99;

std::vector<double> samples_of(const char* path, std::size_t head_bytes) {
    std::ifstream file(path, std::ios::binary);
    const std::vector<char> bytes(std::istreambuf_iterator<char>(file), {});
    std::vector<double> samples;
    for (std::size_t i = head_bytes; i + 1 < bytes.size(); i += 2) {
        const auto low = static_cast<std::uint8_t>(bytes[i]), high = static_cast<std::uint8_t>(bytes[i + 1]);
        samples.push_back(static_cast<std::int16_t>(low | high << 8));
    }
    return samples;
}

// Of `wanted` with the part of `heard` that begins at `place`.
double correlation_at(const std::vector<double>& heard, const std::vector<double>& wanted, std::size_t place) {
    double hh = 0, hw = 0, ww = 0;
    for (std::size_t i = 0; i < wanted.size(); i++) {
        hh += heard[place + i] * heard[place + i];
        hw += heard[place + i] * wanted[i];
        ww += wanted[i] * wanted[i];
    }
    return hh > 0 && ww > 0 ? hw / std::sqrt(hh * ww) : 0;
}

}  // namespace

int main(int count, char** arguments) {
    if (count != 3) return 2;
    const std::vector<double> heard = samples_of(arguments[1], 0);
    const std::vector<double> wanted = samples_of(arguments[2], wave_head_bytes);
    double best = 0;
    std::size_t best_place = 0;
    for (std::size_t place = 0; !wanted.empty() && place + wanted.size() <= heard.size(); place++) {
        const double correlation = correlation_at(heard, wanted, place);
        if (correlation <= best) continue;
        best = correlation;
        best_place = place;
    }
    std::printf("%zu samples heard, %zu wanted: correlation %.4f at %zu\n", heard.size(), wanted.size(), best,
                best_place);
    return best > least_correlation ? 0 : 1;
}
