// SPDX-License-Identifier: MIT
// The discrete Fourier transform of 256 real samples.
//
// Even samples are taken as real, odd ones as imaginary parts of 128 complex numbers (J. W. Cooley, P. A. W. Lewis,
// P. D. Welch, "The fast Fourier transform algorithm: programming considerations", J. Sound Vib. 12, 1970). Their
// transform is one of 16 points down the columns of a table of 16 rows and 8 columns, a rotation, and one of 8 points
// along its rows (W. M. Gentleman, G. Sande, "Fast Fourier transforms", AFIPS 1966): each step works on eight columns,
// or after a transposition on eight rows, side by side, and the result comes out in order.
#include "synthesis/transform.h"

#include "constant_math.h"
#include "lanes/lanes.h"
#include "lanes/version_functions.h"

namespace DECODER_VERSION {
namespace {

constexpr int complex_points = 128;
constexpr int rows = 16;
constexpr int columns = 8;
static_assert(rows * columns == complex_points && columns == lane_count);

struct Complex {
    Floats re, im;
};

inline Complex operator+(Complex a, Complex b) {
    return {a.re + b.re, a.im + b.im};
}
inline Complex operator-(Complex a, Complex b) {
    return {a.re - b.re, a.im - b.im};
}

// a times -i
inline Complex turned(Complex a) {
    return {a.im, -1.0F * a.re};
}

inline Complex times(Complex a, Floats re, Floats im) {
    return {a.re * re - a.im * im, a.re * im + a.im * re};
}

// a times e^(-2 pi i numerator / denominator)
template <int numerator, int denominator>
inline Complex rotated(Complex a) {
    constexpr auto c = static_cast<float>(constant_cosine(static_cast<double>(numerator) / denominator));
    constexpr auto s = static_cast<float>(-constant_sine(static_cast<double>(numerator) / denominator));
    return {a.re * c - a.im * s, a.re * s + a.im * c};
}

// The transform of four points, in place.
inline void four_points(Complex& a, Complex& b, Complex& c, Complex& d) {
    const Complex even = a + c;
    const Complex even_difference = a - c;
    const Complex odd = b + d;
    const Complex odd_difference = turned(b - d);
    a = even + odd;
    b = even_difference + odd_difference;
    c = even - odd;
    d = even_difference - odd_difference;
}

// Eight points as two rows of four: x in order, y in order.
inline void eight_points(const Complex* x, Complex* y) {
    Complex e[4] = {x[0], x[2], x[4], x[6]};
    Complex o[4] = {x[1], x[3], x[5], x[7]};
    four_points(e[0], e[1], e[2], e[3]);
    four_points(o[0], o[1], o[2], o[3]);
    o[1] = rotated<1, 8>(o[1]);
    o[2] = turned(o[2]);
    o[3] = rotated<3, 8>(o[3]);
    for (int k = 0; k < 4; k++) {
        y[k] = e[k] + o[k];
        y[k + 4] = e[k] - o[k];
    }
}

// Sixteen points as a table of four rows and four columns; x(4 n1 + n2) in, y(k1 + 4 k2) out, in place.
inline void sixteen_points(Complex* x) {
    for (int n2 = 0; n2 < 4; n2++) four_points(x[n2], x[n2 + 4], x[n2 + 8], x[n2 + 12]);
    x[5] = rotated<1, 16>(x[5]);
    x[6] = rotated<2, 16>(x[6]);
    x[7] = rotated<3, 16>(x[7]);
    x[9] = rotated<2, 16>(x[9]);
    x[10] = turned(x[10]);
    x[11] = rotated<6, 16>(x[11]);
    x[13] = rotated<3, 16>(x[13]);
    x[14] = rotated<6, 16>(x[14]);
    x[15] = rotated<9, 16>(x[15]);
    for (int k1 = 0; k1 < 4; k1++) four_points(x[4 * k1], x[4 * k1 + 1], x[4 * k1 + 2], x[4 * k1 + 3]);
}

// Where sixteen_points leaves y(k): row k mod 4, column k / 4.
constexpr int place_of(int k) {
    return 4 * (k % 4) + k / 4;
}

// e^(-2 pi i j k / 128) for row k and column j, between the two steps.
struct Rotations {
    float re[rows][columns];
    float im[rows][columns];
};

constexpr Rotations make_rotations() {
    Rotations table{};
    for (int k = 0; k < rows; k++)
        for (int j = 0; j < columns; j++) {
            table.re[k][j] = static_cast<float>(constant_cosine(static_cast<double>(j * k) / complex_points));
            table.im[k][j] = static_cast<float>(-constant_sine(static_cast<double>(j * k) / complex_points));
        }
    return table;
}

// e^(-2 pi i k / 256), which parts the two real sequences.
struct HalfRotations {
    float re[complex_points];
    float im[complex_points];
};

constexpr HalfRotations make_half_rotations() {
    HalfRotations table{};
    for (int k = 0; k < complex_points; k++) {
        table.re[k] = static_cast<float>(constant_cosine(static_cast<double>(k) / transform_samples));
        table.im[k] = static_cast<float>(-constant_sine(static_cast<double>(k) / transform_samples));
    }
    return table;
}

constexpr Rotations rotations = make_rotations();
constexpr HalfRotations half_rotations = make_half_rotations();

inline void transpose(const Floats* x, Floats* y) {
    Floats pairs[lane_count];
    for (int i = 0; i < lane_count; i += 2) {
        pairs[i] = shuffle<0, 8, 1, 9, 4, 12, 5, 13>(x[i], x[i + 1]);
        pairs[i + 1] = shuffle<2, 10, 3, 11, 6, 14, 7, 15>(x[i], x[i + 1]);
    }
    Floats fours[lane_count];
    for (int i = 0; i < lane_count; i += 4)
        for (int j = 0; j < 2; j++) {
            fours[i + 2 * j] = shuffle<0, 1, 8, 9, 4, 5, 12, 13>(pairs[i + j], pairs[i + j + 2]);
            fours[i + 2 * j + 1] = shuffle<2, 3, 10, 11, 6, 7, 14, 15>(pairs[i + j], pairs[i + j + 2]);
        }
    for (int i = 0; i < 4; i++) {
        y[i] = shuffle<0, 1, 2, 3, 8, 9, 10, 11>(fours[i], fours[i + 4]);
        y[i + 4] = shuffle<4, 5, 6, 7, 12, 13, 14, 15>(fours[i], fours[i + 4]);
    }
}

// 128 complex numbers with the first one again at the end: the bins are read in mirrored pairs k and 128 - k.
struct alignas(32) MirroredBins {
    float re[complex_points + 1];
    float im[complex_points + 1];
};

// Rows k = first..first + 7 of the table, rotated and transposed, then transformed along what were rows.
inline void transform_rows(const Complex* table, int first, MirroredBins& bins) {
    Floats re[columns];
    Floats im[columns];
    for (int k = 0; k < columns; k++) {
        const Complex row =
            times(table[place_of(first + k)], load(rotations.re[first + k]), load(rotations.im[first + k]));
        re[k] = row.re;
        im[k] = row.im;
    }
    Floats re_columns[columns];
    Floats im_columns[columns];
    transpose(re, re_columns);
    transpose(im, im_columns);

    Complex x[columns];
    Complex y[columns];
    for (int j = 0; j < columns; j++) x[j] = {re_columns[j], im_columns[j]};
    eight_points(x, y);
    for (int k = 0; k < columns; k++) {
        store(bins.re + rows * k + first, y[k].re);
        store(bins.im + rows * k + first, y[k].im);
    }
}

// The complex transform; `table` holds x(8 row + column) and is used up.
void transform_table(Complex* table, MirroredBins& bins) {
    sixteen_points(table);
    transform_rows(table, 0, bins);
    transform_rows(table, columns, bins);
    bins.re[complex_points] = bins.re[0];
    bins.im[complex_points] = bins.im[0];
}

inline Complex bins_at(const MirroredBins& bins, int k) {
    return {load(bins.re + k), load(bins.im + k)};
}

// Bins 128 - k, 128 - k - 1, ... 128 - k - 7.
inline Complex mirrored_bins_at(const MirroredBins& bins, int k) {
    const Complex forward = bins_at(bins, complex_points - k - (lane_count - 1));
    return {shuffle<7, 6, 5, 4, 3, 2, 1, 0>(forward.re, forward.re),
            shuffle<7, 6, 5, 4, 3, 2, 1, 0>(forward.im, forward.im)};
}

}  // namespace

// X(k) = (Z(k) + Z*(128 - k)) / 2 - i/2 e^(-2 pi i k / 256) (Z(k) - Z*(128 - k))
void transform_forward(const TransformBlock& samples, Spectrum& spectrum) {
    Complex table[rows];
    for (int row = 0; row < rows; row++) {
        const Floats low = load(samples + 2 * columns * row);
        const Floats high = load(samples + 2 * columns * row + columns);
        table[row] = {shuffle<0, 2, 4, 6, 8, 10, 12, 14>(low, high), shuffle<1, 3, 5, 7, 9, 11, 13, 15>(low, high)};
    }
    MirroredBins z;
    transform_table(table, z);
    for (int k = 0; k < transform_bins; k += lane_count) {
        const Complex a = bins_at(z, k);
        const Complex b = mirrored_bins_at(z, k);
        const Complex even = {a.re + b.re, a.im - b.im};
        const Complex odd = times({a.im + b.im, b.re - a.re}, load(half_rotations.re + k), load(half_rotations.im + k));
        store(spectrum.real + k, 0.5F * (even.re + odd.re));
        store(spectrum.imaginary + k, 0.5F * (even.im + odd.im));
    }
}

// Z(k) = (X(k) + X*(128 - k)) + i e^(2 pi i k / 256) (X(k) - X*(128 - k)), then the complex transform backwards: that
// is forwards with real and imaginary parts exchanged.
void transform_back(const Spectrum& spectrum, TransformBlock& samples) {
    MirroredBins bins;
    for (int k = 0; k < transform_bins; k += lane_count) {
        store(bins.re + k, load(spectrum.real + k));
        store(bins.im + k, load(spectrum.imaginary + k));
    }
    bins.im[0] = 0;
    bins.re[complex_points] = 0;
    bins.im[complex_points] = 0;

    Complex table[rows];
    for (int row = 0; row < rows; row++) {
        const int k = columns * row;
        const Complex a = bins_at(bins, k);
        const Complex b = mirrored_bins_at(bins, k);
        const Complex even = {a.re + b.re, a.im - b.im};
        const Complex odd =
            times({a.re - b.re, a.im + b.im}, load(half_rotations.re + k), -1.0F * load(half_rotations.im + k));
        table[row] = {even.im + odd.re, even.re - odd.im};  // i times odd, real and imaginary parts exchanged
    }
    transform_table(table, bins);
    for (int k = 0; k < complex_points; k += lane_count) {
        const Complex z = bins_at(bins, k);  // exchanged: its imaginary part is the even samples
        store(samples + 2 * k, shuffle<0, 8, 1, 9, 2, 10, 3, 11>(z.im, z.re));
        store(samples + 2 * k + lane_count, shuffle<4, 12, 5, 13, 6, 14, 7, 15>(z.im, z.re));
    }
}

}  // namespace DECODER_VERSION
