// SPDX-License-Identifier: MIT
#pragma once

#include <cmath>
#include <cstddef>
#include <numeric>
#include <span>

// Pearson's coefficient of two series of one length; 0 where one of them is constant.
inline double correlation(std::span<const double> x, std::span<const double> y) {
    const double count = static_cast<double>(x.size());
    const double mean_x = std::accumulate(x.begin(), x.end(), 0.0) / count;
    const double mean_y = std::accumulate(y.begin(), y.end(), 0.0) / count;
    double xx = 0, yy = 0, xy = 0;
    for (std::size_t i = 0; i < x.size(); ++i) {
        xx += (x[i] - mean_x) * (x[i] - mean_x);
        yy += (y[i] - mean_y) * (y[i] - mean_y);
        xy += (x[i] - mean_x) * (y[i] - mean_y);
    }
    return xx > 0 && yy > 0 ? xy / std::sqrt(xx * yy) : 0;
}
