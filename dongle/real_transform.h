// SPDX-License-Identifier: MIT
// The discrete Fourier transform of 256 real samples, and back: written for this one size, single precision.
#pragma once

#ifndef ARITHMETIC
#define ARITHMETIC baseline
#endif

constexpr int transform_samples = 256;
constexpr int transform_bins = 128;  // 0..127; bin 128 is not made and counts as 0 on the way back

// X(m) = sum over n of x(n) e^(-2 pi i m n / 256). Bin 0 of the imaginary part is 0.
struct alignas(32) Spectrum {
    float real[transform_bins];
    float imaginary[transform_bins];
};

namespace ARITHMETIC {

void transform_forward(const float samples[transform_samples], Spectrum& spectrum);

// 256 times the inverse transform: forward and back multiplies by 256. Imaginary bin 0 and bin 128 count as 0.
void transform_back(const Spectrum& spectrum, float samples[transform_samples]);

}  // namespace ARITHMETIC
