// Column-wise helpers over a window's rows (rows[k], k = 0 the oldest, n cells
// each), shared by the moment and regression kernels. Every sum runs oldest to
// newest in float64 with the columns side by side. A constant window has
// deviations of exactly zero: its mean is its value itself, and the pair sums
// shift by one of its values.
#pragma once

#include <algorithm>
#include <cstdint>
#include <vector>

namespace qm::ops {

// A scratch column of the row width.
inline double* at_width(std::vector<double>& column, std::int64_t n) {
    column.resize(static_cast<std::size_t>(n));
    return column.data();
}

// sum[j] = the column's d values summed oldest to newest.
void column_sums(const double* const* rows, std::int64_t d, std::int64_t n, double* __restrict sum);

// mean[j] = sum / d, or the column's value when its d values are all equal.
// One pass: the sums and, in `differs` (scratch of the row width), how many
// values differ from the oldest.
inline void column_means(const double* const* rows, std::int64_t d, std::int64_t n, double* __restrict mean,
                         std::vector<double>& differs) {
    double* __restrict changed = at_width(differs, n);
    const double* __restrict oldest = rows[0];
    std::fill(mean, mean + n, 0.0);
    std::fill(changed, changed + n, 0.0);
    for (std::int64_t k = 0; k < d; ++k) {
        const double* __restrict row = rows[k];
        for (std::int64_t j = 0; j < n; ++j) {
            mean[j] += row[j];
            changed[j] += static_cast<double>(row[j] != oldest[j]);
        }
    }
    const double count = static_cast<double>(d);
    for (std::int64_t j = 0; j < n; ++j) {
        const double average = mean[j] / count;  // outside the select, so it needs no branch
        mean[j] = changed[j] != 0.0 ? average : oldest[j];
    }
}

// sum[j] = sum over k of (x_k - mean_x) * (y_k - mean_y) for column j.
inline void centered_cross_sums(const double* const* x, const double* __restrict mean_x, const double* const* y,
                                const double* __restrict mean_y, std::int64_t d, std::int64_t n,
                                double* __restrict sum) {
    for (std::int64_t j = 0; j < n; ++j) sum[j] = 0.0;
    for (std::int64_t k = 0; k < d; ++k) {
        const double* __restrict row_x = x[k];
        const double* __restrict row_y = y[k];
        for (std::int64_t j = 0; j < n; ++j) sum[j] += (row_x[j] - mean_x[j]) * (row_y[j] - mean_y[j]);
    }
}

// Centred cross and square sums of two windows in one pass, from the values
// shifted by each window's oldest value (u = x - x_0, v = y - y_0):
//   Sxy = sum(u v) - sum(u) sum(v) / d, Sxx and Syy likewise.
// The shift is a value of the window, so the sums stay small and a constant
// window gives exactly zero; rounding that would make a square sum negative
// leaves it at 0.
struct PairSums {
    std::vector<double> sum_u, sum_v, cross, squares_u, squares_v;
};

// The shifted sums, one block of columns at a time.
void shifted_pair_sums(const double* const* x, const double* const* y, std::int64_t d, std::int64_t n,
                       double* __restrict su, double* __restrict sv, double* __restrict cross,
                       double* __restrict squares_u, double* __restrict squares_v);

inline void centered_pair_sums(const double* const* x, const double* const* y, std::int64_t d, std::int64_t n,
                               PairSums& sums) {
    shifted_pair_sums(x, y, d, n, at_width(sums.sum_u, n), at_width(sums.sum_v, n), at_width(sums.cross, n),
                      at_width(sums.squares_u, n), at_width(sums.squares_v, n));
}

// sum[j] = sum over k of (k - (d - 1) / 2) * (x_k - mean_x): the time index
// centred, k = 0 for the oldest row.
inline void time_cross_sums(const double* const* x, const double* __restrict mean_x, std::int64_t d,
                            std::int64_t n, double* __restrict sum) {
    const double centre = static_cast<double>(d - 1) / 2.0;
    for (std::int64_t j = 0; j < n; ++j) sum[j] = 0.0;
    for (std::int64_t k = 0; k < d; ++k) {
        const double time = static_cast<double>(k) - centre;
        const double* __restrict row = x[k];
        for (std::int64_t j = 0; j < n; ++j) sum[j] += time * (row[j] - mean_x[j]);
    }
}

// Sum over k of (k - (d - 1) / 2)^2 = d (d^2 - 1) / 12.
inline double time_square_sum(std::int64_t d) {
    const double count = static_cast<double>(d);
    return count * (count * count - 1.0) / 12.0;
}

}  // namespace qm::ops
