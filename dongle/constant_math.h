// SPDX-License-Identifier: MIT
// Functions of angles and logarithms that the compiler evaluates: for constant tables, never at run time.
#pragma once

constexpr double constant_pi = 3.14159265358979323846;

// cos(2 pi turns), by the power series of an angle of at most an eighth of a turn, doubled three times.
constexpr double constant_cosine(double turns) {
    const double reduced = turns - static_cast<double>(static_cast<long>(turns));  // less than one turn
    const double x = 2 * constant_pi * reduced / 8;
    double term = 1;
    double versed = 0;  // 1 - cos
    for (int n = 2; n <= 24; n += 2) {
        term *= -x * x / (n * (n - 1));
        versed -= term;
    }
    for (int doubling = 0; doubling < 3; doubling++) versed = 2 * versed * (2 - versed);
    return 1 - versed;
}

constexpr double constant_sine(double turns) {
    return constant_cosine(turns - 0.25);
}

// log2 x for x of at least 1, by halving and the series of atanh.
constexpr double constant_log2(double x) {
    int whole = 0;
    for (; x >= 2; x /= 2) whole++;
    const double z = (x - 1) / (x + 1);
    double power = z;
    double sum = 0;
    for (int n = 1; n <= 61; n += 2) {
        sum += power / n;
        power *= z * z;
    }
    return whole + 2 * sum / 0.69314718055994530942;
}
