// Small exact-order helpers over one gathered window (oldest value first),
// shared by the moment and regression kernels. Sums run oldest to newest in
// long double, so a window of d equal values (d < 2048) has a mean equal to
// that value and deviations of exactly zero.
#pragma once

#include <cstdint>

namespace qm::ops {

using Accum = long double;

inline bool all_equal(const double* w, std::int64_t d) {
    for (std::int64_t k = 1; k < d; ++k) {
        if (!(w[k] == w[0])) return false;
    }
    return true;
}

inline Accum window_mean(const double* w, std::int64_t d) {
    Accum sum = 0.0L;
    for (std::int64_t k = 0; k < d; ++k) sum += w[k];
    return sum / static_cast<Accum>(d);
}

// Sum over the window of (x - mean_x) * (y - mean_y).
inline Accum centered_cross_sum(const double* x, Accum mean_x, const double* y, Accum mean_y, std::int64_t d) {
    Accum sum = 0.0L;
    for (std::int64_t k = 0; k < d; ++k) sum += (x[k] - mean_x) * (y[k] - mean_y);
    return sum;
}

// Sum over the window of (k - (d - 1) / 2) * (x_k - mean_x): the time index
// centred, k = 0 for the oldest row.
inline Accum time_cross_sum(const double* x, Accum mean_x, std::int64_t d) {
    const Accum centre = static_cast<Accum>(d - 1) / 2.0L;
    Accum sum = 0.0L;
    for (std::int64_t k = 0; k < d; ++k) sum += (static_cast<Accum>(k) - centre) * (x[k] - mean_x);
    return sum;
}

// Sum over k of (k - (d - 1) / 2)^2 = d (d^2 - 1) / 12.
inline Accum time_square_sum(std::int64_t d) {
    const Accum n = static_cast<Accum>(d);
    return n * (n * n - 1.0L) / 12.0L;
}

}  // namespace qm::ops
