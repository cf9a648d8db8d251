// SPDX-License-Identifier: MIT
#include "synthesis/transform.h"

#include <gtest/gtest.h>

#include <cmath>
#include <complex>
#include <random>

#include "dongle/decoder_versions.h"

namespace {

Spectrum noise(unsigned seed) {
    std::mt19937 random(seed);
    std::uniform_real_distribution<float> value(-1, 1);
    Spectrum x;
    for (float& number : x.re) number = value(random);
    for (float& number : x.im) number = value(random);
    return x;
}

// The sum as it is defined, in double precision.
std::complex<double> bin_of(const Spectrum& x, int k) {
    std::complex<double> sum = 0;
    for (int n = 0; n < transform_size; n++)
        sum += std::complex<double>(x.re[n], x.im[n]) * std::polar(1.0, -2 * M_PI * (k * n % 128) / 128);
    return sum;
}

}  // namespace

class Transform : public DecoderVersions {};
INSTANTIATE_TEST_SUITE_P(Versions, Transform, every_version, version_name);

TEST_P(Transform, IsTheSumOfItsDefinition) {
    for (unsigned seed = 0; seed < 20; seed++) {
        const Spectrum x = noise(seed);
        Spectrum transformed = x;
        version().transform(transformed.re, transformed.im);
        for (int k = 0; k < transform_size; k++) {
            const std::complex<double> expected = bin_of(x, k);
            ASSERT_NEAR(transformed.re[k], expected.real(), 1e-5) << k;
            ASSERT_NEAR(transformed.im[k], expected.imag(), 1e-5) << k;
        }
    }
}

TEST_P(Transform, EveryUnitImpulseTurnsAtItsOwnRate) {
    for (int n = 0; n < transform_size; n++) {
        Spectrum x{};
        x.re[n] = 1;
        version().transform(x.re, x.im);
        for (int k = 0; k < transform_size; k++) {
            ASSERT_NEAR(x.re[k], std::cos(2 * M_PI * k * n / 128), 1e-6) << n << " " << k;
            ASSERT_NEAR(x.im[k], -std::sin(2 * M_PI * k * n / 128), 1e-6) << n << " " << k;
        }
    }
}

TEST_P(Transform, WithPartsExchangedItIsTheWayBack) {
    const Spectrum x = noise(1);
    Spectrum back = x;
    version().transform(back.re, back.im);
    version().transform(back.im, back.re);
    for (int n = 0; n < transform_size; n++) {
        ASSERT_NEAR(back.re[n], 128 * x.re[n], 1e-4) << n;
        ASSERT_NEAR(back.im[n], 128 * x.im[n], 1e-4) << n;
    }
}
