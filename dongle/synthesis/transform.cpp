// SPDX-License-Identifier: MIT
// The discrete Fourier transform of 128 complex numbers.
//
// The numbers are a table of 16 rows and 8 columns: a transform of 16 points down each column, a rotation, and one of 8
// points along each row (J. W. Cooley, J. W. Tukey, "An algorithm for the machine calculation of complex Fourier
// series", Math. Comp. 19, 1965; both in steps of four points). Each step works on eight columns, or after a
// transposition on eight rows, side by side, and the result comes out in order.
#include "synthesis/transform.h"

#include "constant_math.h"
#include "lanes/lanes.h"
#include "lanes/version_functions.h"

namespace DECODER_VERSION {
namespace {

constexpr int rows = 16;
constexpr int columns = 8;
static_assert(rows * columns == transform_size && columns == lane_count);

struct Complex {
    Floats re, im;
};

inline Complex operator+(Complex a, Complex b) {
    return {a.re + b.re, a.im + b.im};
}
inline Complex operator-(Complex a, Complex b) {
    return {a.re - b.re, a.im - b.im};
}

// b turned back by a quarter, that is multiplied by -i, and added or subtracted: a - i b and a + i b.
inline Complex plus_turned(Complex a, Complex b) {
    return {a.re + b.im, a.im - b.re};
}
inline Complex minus_turned(Complex a, Complex b) {
    return {a.re - b.im, a.im + b.re};
}

inline Complex times(Complex a, Floats re, Floats im) {
    return {a.re * re - a.im * im, a.re * im + a.im * re};
}

// a times e^(-2 pi i numerator / 16)
template <int numerator>
inline Complex rotated(Complex a) {
    constexpr auto c = static_cast<float>(constant_cosine(numerator / 16.0));
    constexpr auto s = static_cast<float>(constant_sine(numerator / 16.0));
    if constexpr (numerator == 2) return {(a.re + a.im) * c, (a.im - a.re) * c};
    if constexpr (numerator == 4) return {a.im, Floats{} - a.re};
    if constexpr (numerator == 6) return {(a.im - a.re) * s, (a.re + a.im) * -s};
    return {a.re * c + a.im * s, a.im * c - a.re * s};
}

// The transform of four points, in place.
inline void four_points(Complex& a, Complex& b, Complex& c, Complex& d) {
    const Complex even = a + c;
    const Complex even_difference = a - c;
    const Complex odd = b + d;
    const Complex odd_difference = b - d;
    a = even + odd;
    b = plus_turned(even_difference, odd_difference);
    c = even - odd;
    d = minus_turned(even_difference, odd_difference);
}

// Eight points as two rows of four: x in order, y in order.
inline void eight_points(const Complex* x, Complex* y) {
    Complex e[4] = {x[0], x[2], x[4], x[6]};
    Complex o[4] = {x[1], x[3], x[5], x[7]};
    four_points(e[0], e[1], e[2], e[3]);
    four_points(o[0], o[1], o[2], o[3]);
    o[1] = rotated<2>(o[1]);
    o[3] = rotated<6>(o[3]);
    y[0] = e[0] + o[0];
    y[1] = e[1] + o[1];
    y[2] = plus_turned(e[2], o[2]);
    y[3] = e[3] + o[3];
    y[4] = e[0] - o[0];
    y[5] = e[1] - o[1];
    y[6] = minus_turned(e[2], o[2]);
    y[7] = e[3] - o[3];
}

// Sixteen points as a table of four rows and four columns; x(4 n1 + n2) in, y(k1 + 4 k2) out, in place.
inline void sixteen_points(Complex* x) {
    for (int n2 = 0; n2 < 4; n2++) four_points(x[n2], x[n2 + 4], x[n2 + 8], x[n2 + 12]);
    x[5] = rotated<1>(x[5]);
    x[6] = rotated<2>(x[6]);
    x[7] = rotated<3>(x[7]);
    x[9] = rotated<2>(x[9]);
    x[10] = rotated<4>(x[10]);
    x[11] = rotated<6>(x[11]);
    x[13] = rotated<3>(x[13]);
    x[14] = rotated<6>(x[14]);
    x[15] = rotated<9>(x[15]);
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
            table.re[k][j] = static_cast<float>(constant_cosine(static_cast<double>(j * k) / transform_size));
            table.im[k][j] = static_cast<float>(-constant_sine(static_cast<double>(j * k) / transform_size));
        }
    return table;
}

alignas(32) constexpr Rotations rotations = make_rotations();

// Rows k = first..first + 7 of the table, rotated and transposed, then transformed along what were rows.
inline void transform_rows(const Complex* table, int first, TransformBlock& re, TransformBlock& im) {
    Floats re_rows[columns];
    Floats im_rows[columns];
    for (int k = 0; k < columns; k++) {
        const Complex row =
            times(table[place_of(first + k)], load(rotations.re[first + k]), load(rotations.im[first + k]));
        re_rows[k] = row.re;
        im_rows[k] = row.im;
    }
    transpose(re_rows);
    transpose(im_rows);

    Complex x[columns];
    Complex y[columns];
    for (int j = 0; j < columns; j++) x[j] = {re_rows[j], im_rows[j]};
    eight_points(x, y);
    for (int k = 0; k < columns; k++) {
        store(re + rows * k + first, y[k].re);
        store(im + rows * k + first, y[k].im);
    }
}

}  // namespace

void transform(TransformBlock& re, TransformBlock& im) {
    Complex table[rows];
    for (int row = 0; row < rows; row++) table[row] = {load(re + columns * row), load(im + columns * row)};
    sixteen_points(table);
    transform_rows(table, 0, re, im);
    transform_rows(table, columns, re, im);
}

}  // namespace DECODER_VERSION
