// Column-wise mean of a (count, n) C-contiguous float64 matrix, bit-for-bit
// equal to numpy.mean(matrix, axis=0).
//
// NumPy starts every sum from 0.0 (so a lone -0.0 averages to 0.0). With two
// or more columns it adds the rows in order; with one column the reduction
// runs along contiguous memory and NumPy uses its pairwise summation (blocks
// of 128, eight accumulators), reproduced here. The sum is then divided by
// count; no rows give NaN (0/0). NaN propagates.
//
// Pure C++: touches no Python object, O(count * n).
#pragma once

#include <cstdint>

namespace qm {

// NumPy's pairwise summation of n values (0.0 for n == 0).
inline double pairwise_sum(const double* a, std::int64_t n) {
    if (n < 8) {
        double res = 0.0;
        for (std::int64_t i = 0; i < n; ++i) res += a[i];
        return res;
    }
    if (n <= 128) {
        double r[8];
        for (int j = 0; j < 8; ++j) r[j] = a[j];
        std::int64_t i = 8;
        for (; i < n - (n % 8); i += 8) {
            for (int j = 0; j < 8; ++j) r[j] += a[i + j];
        }
        double res = ((r[0] + r[1]) + (r[2] + r[3])) + ((r[4] + r[5]) + (r[6] + r[7]));
        for (; i < n; ++i) res += a[i];
        return res;
    }
    std::int64_t half = n / 2;
    half -= half % 8;
    return pairwise_sum(a, half) + pairwise_sum(a + half, n - half);
}

inline void column_mean(const double* rows, std::int64_t count, std::int64_t n, double* out) {
    const double divisor = static_cast<double>(count);
    if (n == 1) {
        out[0] = (0.0 + pairwise_sum(rows, count)) / divisor;
        return;
    }
    for (std::int64_t j = 0; j < n; ++j) out[j] = 0.0;
    for (std::int64_t r = 0; r < count; ++r) {
        const double* row = rows + r * n;
        for (std::int64_t j = 0; j < n; ++j) out[j] += row[j];
    }
    for (std::int64_t j = 0; j < n; ++j) out[j] /= divisor;
}

}  // namespace qm
