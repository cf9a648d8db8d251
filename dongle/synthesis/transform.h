// SPDX-License-Identifier: MIT
// The discrete Fourier transform of 256 real samples, and back (transform_forward, transform_back): written for this one
// size, single precision.
#pragma once

#include "lanes/decoder_version.h"

constexpr int transform_bins = 128;  // 0..127; bin 128 is not made and counts as 0 on the way back

// X(m) = sum over n of x(n) e^(-2 pi i m n / 256). Bin 0 of the imaginary part is 0.
struct alignas(32) Spectrum {
    float real[transform_bins];
    float imaginary[transform_bins];
};
