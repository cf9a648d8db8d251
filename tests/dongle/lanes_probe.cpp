// SPDX-License-Identifier: MIT
// The functions over eight numbers of one version; compiled once for each.
#include "dongle/lanes_probe.h"

#include "lanes/lanes.h"

#define NAME_OF(version) #version
#define QUOTED(version) NAME_OF(version)

namespace DECODER_VERSION {

const LanesProbe lanes_probe = {
    QUOTED(DECODER_VERSION),
    [](const EightWords& phase, EightFloats& result) { store(result, cosine(load(phase))); },
    [](const EightWords& phase, EightFloats& result) { store(result, sine(load(phase))); },
    [](const EightFloats& x, EightFloats& result) { store(result, power_of_two(load(x))); },
    [](const EightFloats& x, EightFloats& result) { store(result, log2(load(x))); },
    [](const EightFloats& x, EightFloats& result) { store(result, sqrt(load(x))); },
    [](const EightFloats& a, const EightFloats& b, EightFloats& result) { store(result, min(load(a), load(b))); },
    [](const EightFloats& a, const EightFloats& b, EightFloats& result) { store(result, max(load(a), load(b))); },
    [](const EightWords& mask, const EightFloats& a, const EightFloats& b, EightFloats& result) {
        store(result, select(load(mask), load(a), load(b)));
    },
    [](const EightFloats& a, const EightFloats& b, EightFloats& result) {
        store(result, shuffle<0, 2, 4, 6, 8, 10, 12, 14>(load(a), load(b)));
    },
    [](int first, int count, EightWords& result) { store(result, mask_below(first, count)); },
    [](EightFloats (&rows)[8]) {
        Floats lanes[lane_count];
        for (int i = 0; i < lane_count; i++) lanes[i] = load(rows[i]);
        transpose(lanes);
        for (int i = 0; i < lane_count; i++) store(rows[i], lanes[i]);
    },
    [](const EightWords& x, EightShorts& result) { store(result, load(x)); },
    [](const EightFloats& x) { return sum(load(x)); },
};

}  // namespace DECODER_VERSION
