// NumPy's summation order for a float64 sum, so that a native operator's
// cells equal those of the NumPy expression it replaces bit for bit: blocks
// of up to 128 values summed with eight interleaved accumulators, longer runs
// split in two at a multiple of 8 and summed recursively; the reduction then
// adds the block sum to its initial 0.0. Pure C++, no Python.
#pragma once

#include <cstddef>

namespace qm::ops {

inline double numpy_pairwise_sum(const double* values, std::size_t n) {
    if (n < 8) {
        double sum = -0.0;
        for (std::size_t i = 0; i < n; ++i) sum += values[i];
        return sum;
    }
    if (n <= 128) {
        double r[8];
        for (std::size_t j = 0; j < 8; ++j) r[j] = values[j];
        std::size_t i = 8;
        for (; i < n - (n % 8); i += 8) {
            for (std::size_t j = 0; j < 8; ++j) r[j] += values[i + j];
        }
        double sum = ((r[0] + r[1]) + (r[2] + r[3])) + ((r[4] + r[5]) + (r[6] + r[7]));
        for (; i < n; ++i) sum += values[i];
        return sum;
    }
    std::size_t half = n / 2;
    half -= half % 8;
    return numpy_pairwise_sum(values, half) + numpy_pairwise_sum(values + half, n - half);
}

// np.sum of a contiguous float64 row.
inline double numpy_sum(const double* values, std::size_t n) { return 0.0 + numpy_pairwise_sum(values, n); }

}  // namespace qm::ops
