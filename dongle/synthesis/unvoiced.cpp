// SPDX-License-Identifier: MIT
// The noise of a frame. Its two blocks go through the same transforms, one as real, one as imaginary part.
//
// Analysis, modification and weighted overlap follow D. W. Griffin, J. S. Lim, "Signal estimation from modified
// short-time Fourier transform", IEEE Trans. ASSP 32, 1984.
#include "synthesis/unvoiced.h"

#include "lanes/lanes.h"
#include "lanes/version_functions.h"
#include "synthesis/transform.h"

namespace DECODER_VERSION {
namespace {

constexpr int hop = noise_block_hop;
constexpr int middle = noise_block_samples / 2;
constexpr int frame_words = 2 * hop;  // of white noise
constexpr int widest_band = 7;        // bins, at 418 Hz
constexpr float bin_gain = noise_gain / transform_size;
static_assert(noise_block_samples == transform_size && frame_samples == 2 * hop && widest_band <= lane_count);

// The window by position in the block, and for overlapping blocks divided by the sum of both squares.
struct NoiseWindows {
    float analysis[noise_block_samples];
    float falling[hop];
    float rising[hop];
};

constexpr NoiseWindows make_windows() {
    NoiseWindows windows{};
    for (int i = 0; i < noise_block_samples; i++) windows.analysis[i] = noise_window(i - middle) * 0x1p-31F;
    for (int n = 0; n < hop; n++) {
        const auto falling = static_cast<double>(noise_window(n));
        const auto rising = static_cast<double>(noise_window(n - hop));
        const double squares = falling * falling + rising * rising;
        windows.falling[n] = static_cast<float>(falling / squares);
        windows.rising[n] = static_cast<float>(rising / squares);
    }
    return windows;
}

alignas(32) constexpr NoiseWindows windows = make_windows();

// Windowed white noise; of the 128 values of each block 48 are shared.
void window_noise(const std::uint32_t* white, Spectrum& spectrum) {
    for (int i = 0; i < noise_block_samples; i += lane_count) {
        store(spectrum.re + i, load(windows.analysis + i) * signed_floats(load(white + i)));
        store(spectrum.im + i, load(windows.analysis + i) * signed_floats(load(white + hop + i)));
    }
}

// Harmonic l has the bins that are nearest to it: from ceil(128 f0 (l - 1/2)) to, exclusively,
// ceil(128 f0 (l + 1/2)). Each store is eight bins wide; the next band overwrites the excess.
void magnitudes_by_bin(const UnvoicedHarmonics& harmonics, BinMagnitudes& by_bin) {
    const auto first_bin = [](std::uint32_t twice) { return static_cast<int>((twice - 1) >> 26) + 1; };
    std::uint32_t twice = harmonics.fundamental;  // f0 (2 l - 1)
    store(by_bin, Floats{});
    for (int i = 0; i < harmonics.count; i++) {
        store(by_bin + first_bin(twice), splat(bin_gain * harmonics.magnitude[i]));
        twice += 2 * harmonics.fundamental;
    }
    for (int m = first_bin(twice); m <= noise_bins; m += lane_count) store(by_bin + m, Floats{});
}

bool is_silent(const BinMagnitudes& magnitude) {
    Floats loudest{};
    for (int m = 0; m < noise_bins; m += lane_count) loudest = max(loudest, load(magnitude + m));
    return sum(loudest) <= 0;
}

// The first block's magnitudes lie between those of two frames: the geometric mean, or half of a single one.
inline Floats squared_mean(Floats a, Floats b) {
    const Floats product = a * b;
    const Floats half_sum = 0.5F * (a + b);
    return select(greater(product, Floats{}), product, half_sum * half_sum);
}

struct Complex {
    Floats re, im;
};

// x brought to a magnitude whose square is given; 0 stays 0.
inline Complex with_magnitude(Complex x, Floats squared) {
    const Floats norm = x.re * x.re + x.im * x.im;
    const Floats factor = masked(greater(norm, Floats{}), sqrt(squared / norm));
    return {factor * x.re, factor * x.im};
}

inline Floats reversed(Floats x) {
    return shuffle<7, 6, 5, 4, 3, 2, 1, 0>(x, x);
}

// With Z the transform of x1 + i x2, x1 has the bins (Z(m) + Z*(128 - m)) / 2 and i x2 (Z(m) - Z*(128 - m)) / 2. Each
// is brought to its magnitude, and both are put together again.
void impose_magnitudes(Spectrum& spectrum, const BinMagnitudes& before, const BinMagnitudes& now) {
    spectrum.re[0] = spectrum.im[0] = 0;
    for (int m = 1; m < noise_bins; m += lane_count) {
        const int mirror = transform_size - m - (lane_count - 1);
        const Complex a = {load(spectrum.re + m), load(spectrum.im + m)};
        const Complex b = {reversed(load(spectrum.re + mirror)), reversed(load(spectrum.im + mirror))};
        const Floats magnitude = load(now + m);
        const Complex x1 = with_magnitude({a.re + b.re, a.im - b.im}, squared_mean(load(before + m), magnitude));
        const Complex x2 = with_magnitude({a.re - b.re, a.im + b.im}, magnitude * magnitude);
        store(spectrum.re + m, x1.re + x2.re);
        store(spectrum.im + m, x1.im + x2.im);
        store(spectrum.re + mirror, reversed(x1.re - x2.re));
        store(spectrum.im + mirror, reversed(x2.im - x1.im));
    }
}

// From the middle of a block to that of the next: `old` from its middle on, `next` up to its middle.
void overlap(const float* old, const float* next, float* samples) {
    constexpr int lead = hop - middle;
    for (int n = 0; n < lead; n += lane_count) store(samples + n, load(windows.falling + n) * load(old + n));
    for (int n = lead; n < middle; n += lane_count)
        store(samples + n,
              load(windows.falling + n) * load(old + n) + load(windows.rising + n) * load(next + n - lead));
    for (int n = middle; n < hop; n += lane_count) store(samples + n, load(windows.rising + n) * load(next + n - lead));
}

}  // namespace

void unvoiced_start(NoiseBlocks& blocks, std::uint32_t& noise) {
    std::uint32_t white[noise_block_samples];
    noise_words(noise, white, noise_block_samples);
    __builtin_memset(&blocks, 0, sizeof blocks);
    __builtin_memcpy(blocks.white, white + hop, sizeof blocks.white);
}

void unvoiced_synthesis(NoiseBlocks& blocks, const UnvoicedHarmonics& harmonics, std::uint32_t& noise,
                        SpeechBlock& samples) {
    alignas(32) std::uint32_t white[shared_noise + frame_words];
    __builtin_memcpy(white, blocks.white, sizeof blocks.white);
    noise_words(noise, white + shared_noise, frame_words);
    __builtin_memcpy(blocks.white, white + frame_words, sizeof blocks.white);

    alignas(32) BinMagnitudes magnitude;
    magnitudes_by_bin(harmonics, magnitude);

    Spectrum spectrum;
    window_noise(white, spectrum);
    transform(spectrum.re, spectrum.im);
    impose_magnitudes(spectrum, blocks.magnitude, magnitude);
    transform(spectrum.im, spectrum.re);  // and back
    // The shared transforms leak rounding errors of the first block into the second; a silent second block is exactly 0.
    if (is_silent(magnitude)) __builtin_memset(spectrum.im, 0, sizeof spectrum.im);
    __builtin_memcpy(blocks.magnitude, magnitude, sizeof blocks.magnitude);

    overlap(blocks.tail, spectrum.re, samples);
    overlap(spectrum.re + middle, spectrum.im, samples + hop);
    __builtin_memcpy(blocks.tail, spectrum.im + middle, sizeof blocks.tail);
}

}  // namespace DECODER_VERSION
