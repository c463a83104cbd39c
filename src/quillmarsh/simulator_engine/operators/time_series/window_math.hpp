// Column-wise helpers over a window's rows (rows[k], k = 0 the oldest, n cells
// each), shared by the moment and regression kernels. Every sum runs oldest to
// newest in float64 with the columns side by side. The mean of a constant
// column is its value itself, so its deviations are exactly zero: a constant
// window has a covariance and slope of exactly 0 and a variance of 0.
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

// Inner loops run over one row pointer hoisted out and write through
// __restrict pointers, so the compiler processes several columns at a time.
inline void column_sums(const double* const* rows, std::int64_t d, std::int64_t n, double* __restrict sum) {
    for (std::int64_t j = 0; j < n; ++j) sum[j] = 0.0;
    for (std::int64_t k = 0; k < d; ++k) {
        const double* __restrict row = rows[k];
        for (std::int64_t j = 0; j < n; ++j) sum[j] += row[j];
    }
}

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

// One pass over both windows: per column the centred cross sum of x and y
// and the centred square sums of each.
inline void centered_pair_sums(const double* const* x, const double* __restrict mean_x, const double* const* y,
                               const double* __restrict mean_y, std::int64_t d, std::int64_t n,
                               double* __restrict cross, double* __restrict squares_x, double* __restrict squares_y) {
    std::fill(cross, cross + n, 0.0);
    std::fill(squares_x, squares_x + n, 0.0);
    std::fill(squares_y, squares_y + n, 0.0);
    for (std::int64_t k = 0; k < d; ++k) {
        const double* __restrict row_x = x[k];
        const double* __restrict row_y = y[k];
        for (std::int64_t j = 0; j < n; ++j) {
            const double dx = row_x[j] - mean_x[j];
            const double dy = row_y[j] - mean_y[j];
            cross[j] += dx * dy;
            squares_x[j] += dx * dx;
            squares_y[j] += dy * dy;
        }
    }
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
