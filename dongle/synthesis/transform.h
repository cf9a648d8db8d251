// SPDX-License-Identifier: MIT
// The discrete Fourier transform of 128 complex numbers (`transform`, declared in lanes/version_functions.h): written
// for this one size, single precision.
#pragma once

#include "lanes/decoder_version.h"

// 128 complex numbers, before and after. X(k) = sum over n of x(n) e^(-2 pi i k n / 128).
struct alignas(32) Spectrum {
    TransformBlock re;
    TransformBlock im;
};
