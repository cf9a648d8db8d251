// SPDX-License-Identifier: MIT
// The functions over eight numbers of each version, for tests.
#pragma once

#include <cstdint>

using EightFloats = float[8];
using EightWords = std::uint32_t[8];
using EightShorts = std::int16_t[8];

struct LanesProbe {
    const char* name;
    void (*cosine)(const EightWords& phase, EightFloats& result);
    void (*sine)(const EightWords& phase, EightFloats& result);
    void (*power_of_two)(const EightFloats& x, EightFloats& result);
    void (*log2)(const EightFloats& x, EightFloats& result);
    void (*sqrt)(const EightFloats& x, EightFloats& result);
    void (*min)(const EightFloats& a, const EightFloats& b, EightFloats& result);
    void (*max)(const EightFloats& a, const EightFloats& b, EightFloats& result);
    void (*select)(const EightWords& mask, const EightFloats& a, const EightFloats& b, EightFloats& result);
    void (*even_lanes)(const EightFloats& a, const EightFloats& b, EightFloats& result);  // a0 a2 a4 a6 b0 b2 b4 b6
    void (*mask_below)(int first, int count, EightWords& result);
    void (*transpose)(EightFloats (&rows)[8]);
    void (*shorts)(const EightWords& x, EightShorts& result);
    float (*sum)(const EightFloats& x);
};

namespace plain {
extern const LanesProbe lanes_probe;
}
namespace portable {
extern const LanesProbe lanes_probe;
}
namespace baseline {
extern const LanesProbe lanes_probe;
}
#ifdef __x86_64__
namespace avx2 {
extern const LanesProbe lanes_probe;
}
#endif
