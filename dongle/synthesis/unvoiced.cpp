// SPDX-License-Identifier: MIT
// The unvoiced harmonics: white noise transformed, each band brought to its magnitude, transformed back, overlapped.
#include "synthesis/unvoiced.h"

#include "lanes/lanes.h"
#include "lanes/version_functions.h"
#include "synthesis/transform.h"
#include "synthesis/voiced.h"

namespace DECODER_VERSION {
namespace {

constexpr int widest_band = 13;  // bins, at 400 Hz
constexpr int middle = transform_samples / 2;
constexpr int frame = frame_samples;

// The window by position in the block, and the two of overlapping frames divided by the sum of their squares.
struct NoiseWindows {
    float analysis[transform_samples];
    float before[frame];
    float now[frame];
};

constexpr NoiseWindows make_windows() {
    NoiseWindows windows{};
    for (int i = 0; i < transform_samples; i++) windows.analysis[i] = synthesis_window(i - middle);
    for (int n = 0; n < frame; n++) {
        const double before = static_cast<double>(synthesis_window(n));
        const double now = static_cast<double>(synthesis_window(n - frame));
        const double squares = before * before + now * now;
        windows.before[n] = static_cast<float>(before / squares);
        windows.now[n] = static_cast<float>(now / squares);
    }
    return windows;
}

constexpr NoiseWindows windows = make_windows();

// Band of harmonic l: bins ceil(256 f0 (l - 1/2)) to, exclusively, ceil(256 f0 (l + 1/2)), at most 128.
// edge[i] is the first bin of harmonic i + 1 and the end of harmonic i.
void band_edges(const Harmonics& harmonics, int* edge) {
    std::uint32_t twice = harmonics.fundamental;  // f0 (2 l - 1), which is twice f0 (l - 1/2)
    for (int i = 0; i <= harmonics.count; i++) {
        const auto bin = static_cast<int>((twice + ((1U << 25) - 1)) >> 25);
        edge[i] = bin < transform_bins ? bin : transform_bins;
        twice += 2 * harmonics.fundamental;
    }
}

// sums[m] = energy of the bins below m.
void energy_sums(const Spectrum& spectrum, float* sums) {
    const Floats none{};
    float before = 0;
    for (int m = 0; m < transform_bins; m += lane_count) {
        const Floats re = load(spectrum.real + m);
        const Floats im = load(spectrum.imaginary + m);
        Floats energy = re * re + im * im;
        energy += shuffle<8, 0, 1, 2, 3, 4, 5, 6>(energy, none);
        energy += shuffle<8, 8, 0, 1, 2, 3, 4, 5>(energy, none);
        energy += shuffle<8, 8, 8, 8, 0, 1, 2, 3>(energy, none);
        store(sums + m + 1, before + energy);
        before += energy[lane_count - 1];
    }
    sums[0] = 0;
}

// The factor for the bins of each harmonic: gw M / sqrt(mean energy of its bins); 0 where it is voiced, or has no bins.
void harmonic_gains(const Harmonics& harmonics, const int* edge, const float* sums, float* gains) {
    float energy[harmonic_slots];
    float width[harmonic_slots];
    for (int i = 0; i < harmonics.count; i++) {
        energy[i] = sums[edge[i + 1]] - sums[edge[i]];
        width[i] = static_cast<float>(edge[i + 1] - edge[i]);
    }
    for (int i = harmonics.count; i % lane_count != 0; i++) energy[i] = width[i] = 0;
    for (int i = 0; i < harmonics.count; i += lane_count) {
        const Floats sum_of_bins = load(energy + i);
        const Words sounds = ~load(harmonics.voiced + i) & greater(sum_of_bins, Floats{});
        const Floats divisor = select(sounds, sum_of_bins, splat(1.0F));
        const Floats gain = noise_gain * load(harmonics.magnitude + i) * sqrt(load(width + i) / divisor);
        store(gains + i, masked(sounds, gain * (1.0F / transform_samples)));
    }
}

// Each bin's factor. A band is written sixteen bins wide, and what is too much is overwritten by the next one.
void bin_gains(const Harmonics& harmonics, const int* edge, const float* gains, float* by_bin) {
    static_assert(widest_band <= 2 * lane_count);
    for (int m = 0; m < edge[0]; m++) by_bin[m] = 0;
    for (int i = 0; i < harmonics.count; i++) {
        store(by_bin + edge[i], splat(gains[i]));
        store(by_bin + edge[i] + lane_count, splat(gains[i]));
    }
    for (int m = edge[harmonics.count]; m < transform_bins; m += lane_count) store(by_bin + m, Floats{});
}

void apply(const float* by_bin, Spectrum& spectrum) {
    for (int m = 0; m < transform_bins; m += lane_count) {
        const Floats gain = load(by_bin + m);
        store(spectrum.real + m, gain * load(spectrum.real + m));
        store(spectrum.imaginary + m, gain * load(spectrum.imaginary + m));
    }
}

// The frame's own share, around its middle.
void shape_noise(const float* noise, const Harmonics& harmonics, TransformBlock& shaped) {
    alignas(32) TransformBlock windowed;
    for (int i = 0; i < transform_samples; i += lane_count)
        store(windowed + i, load(windows.analysis + i) * load(noise + i));

    Spectrum spectrum;
    transform_forward(windowed, spectrum);
    int edge[harmonic_slots];
    float sums[transform_bins + lane_count];
    float gains[harmonic_slots];
    float by_bin[transform_bins + 2 * lane_count];
    band_edges(harmonics, edge);
    energy_sums(spectrum, sums);
    harmonic_gains(harmonics, edge, sums, gains);
    bin_gains(harmonics, edge, gains, by_bin);
    apply(by_bin, spectrum);
    transform_back(spectrum, shaped);
}

}  // namespace

void unvoiced_synthesis(MbeSynthesis& synthesis, const Harmonics& harmonics, SpeechBlock& samples) {
    alignas(32) TransformBlock shaped;
    shape_noise(synthesis.noise_block, harmonics, shaped);

    constexpr int half = middle - 2 * lane_count;  // 112 samples: the window lets 105 of them through
    const float* before = synthesis.unvoiced_before + middle;
    for (int n = 0; n < half; n += lane_count)
        store(samples + n, load(samples + n) + load(windows.before + n) * load(before + n));
    for (int n = frame - half; n < frame; n += lane_count) {
        const Floats now = load(shaped + (n - frame + middle));
        store(samples + n, load(samples + n) + load(windows.now + n) * now);
    }
    __builtin_memcpy(synthesis.unvoiced_before, shaped, sizeof shaped);
}

}  // namespace DECODER_VERSION
