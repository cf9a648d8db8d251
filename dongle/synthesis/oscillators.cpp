// SPDX-License-Identifier: MIT
// Sums of sinusoids.
//
// An exponentially damped sinusoid is a linear recurrence of second order (J. W. Gordon, J. O. Smith, "A sine
// generation algorithm for VLSI applications", ICMC 1985). Here each step makes eight samples: with
// z = growth e^(i step),
//
//   y(b + 1) = 2 Re(z^8) y(b) - |z^8|^2 y(b - 1)
//
// The first sixteen samples, and so all that differs from oscillator to oscillator, are made for eight oscillators at a
// time by powers of z.
#include "synthesis/oscillators.h"

#include "lanes/lanes.h"
#include "lanes/version_functions.h"

namespace DECODER_VERSION {
namespace {

struct Complex {
    Floats re, im;
};

inline Complex operator*(Complex a, Complex b) {
    return {a.re * b.re - a.im * b.im, a.re * b.im + a.im * b.re};
}

inline Complex squared(Complex a) {
    return {a.re * a.re - a.im * a.im, 2.0F * (a.re * a.im)};
}

inline Complex polar(Floats magnitude, Words phase) {
    return {magnitude * cosine(phase), magnitude * sine(phase)};
}

// The recurrences of eight oscillators.
struct alignas(32) Recurrences {
    float first[lane_count][lane_count];   // samples 0 to 7 of each
    float second[lane_count][lane_count];  // samples 8 to 15
    float factor[lane_count];              // 2 Re(z^8)
    float damping[lane_count];             // |z^8|^2
};

void begin(const Oscillators& oscillators, int i, Recurrences& recurrences) {
    const Complex z = polar(load(oscillators.growth + i), load(oscillators.step + i));
    const Complex z2 = squared(z);
    const Complex z4 = squared(z2);
    const Complex z8 = squared(z4);
    Complex x[lane_count];
    x[0] = polar(load(oscillators.amplitude + i), load(oscillators.phase + i));
    x[1] = x[0] * z;
    for (int n = 0; n < 2; n++) x[n + 2] = x[n] * z2;
    for (int n = 0; n < 4; n++) x[n + 4] = x[n] * z4;

    Floats first[lane_count];
    Floats second[lane_count];
    for (int n = 0; n < lane_count; n++) {
        first[n] = x[n].re;
        second[n] = x[n].re * z8.re - x[n].im * z8.im;
    }
    transpose(first);
    transpose(second);
    for (int lane = 0; lane < lane_count; lane++) {
        store(recurrences.first[lane], first[lane]);
        store(recurrences.second[lane], second[lane]);
    }
    store(recurrences.factor, z8.re + z8.re);
    store(recurrences.damping, z8.re * z8.re + z8.im * z8.im);
}

// One recurrence on its way, always two steps at a time: `even` and `odd` are the next two to come out.
struct Runner {
    Floats even, odd;
    float factor, damping;
};

inline Runner runner_of(const Recurrences& recurrences, int lane) {
    return {load(recurrences.first[lane]), load(recurrences.second[lane]), recurrences.factor[lane],
            recurrences.damping[lane]};
}

inline void step(Runner& r) {
    r.even = r.factor * r.odd - r.damping * r.even;
    r.odd = r.factor * r.even - r.damping * r.odd;
}

inline void add_two(Runner a, Runner b, int block_count, float* samples) {
    for (int block = 0; block < block_count; block += 2) {
        float* at = samples + lane_count * block;
        store(at, load(at) + (a.even + b.even));
        store(at + lane_count, load(at + lane_count) + (a.odd + b.odd));
        step(a);
        step(b);
    }
}

void silence_rest(Oscillators& oscillators) {
    for (int i = oscillators.count; i % lane_count != 0; i++) {
        oscillators.phase[i] = oscillators.step[i] = 0;
        oscillators.amplitude[i] = oscillators.growth[i] = 0;
    }
}

}  // namespace

void add_oscillators(Oscillators& oscillators, int block_count, float* samples) {
    silence_rest(oscillators);
    for (int i = 0; i < oscillators.count; i += lane_count) {
        Recurrences recurrences;
        begin(oscillators, i, recurrences);
        const int left = oscillators.count - i;
        for (int lane = 0; lane < lane_count && lane < left; lane += 2)
            add_two(runner_of(recurrences, lane), runner_of(recurrences, lane + 1), block_count, samples);
    }
}

}  // namespace DECODER_VERSION
