// Rolling longitudinal kernel: mean, population standard deviation or z-score
// of the trailing `window` rows of every column.
//
// Input:  `data`, T x N float64, row-major with row stride N (C-contiguous).
// Output: `out`, T x N float64, row-major; every cell is written.
// NaN policy: a cell has a value only when none of the `window` values of its
//   window is NaN; otherwise, and in the first window - 1 rows, it is NaN.
//   Infinities are values. T < window gives an all-NaN result.
// Arithmetic: per column, a leading prefix sum over rows 0..t and a lagging
//   prefix sum over rows 0..t-window of the NaN-zeroed values (and of their
//   squares), both accumulated from zero in row order in long double; the
//   window sum is their difference, the departing value is never subtracted.
//   Mean, variance max(sumsq / w - mean^2, 0), sqrt and z-score are computed in
//   long double and rounded to float64 only when stored; z is 0.0 where the
//   standard deviation is 0. The cells are therefore bit-identical to the same
//   steps done with whole (T+1) x N long-double prefix-sum matrices.
// Complexity: O(T * N) time, one pass over the rows per tile of columns, and
//   O(tile width) extra memory.
// Runs without the GIL, touches no Python object.
#pragma once

#include <cstddef>

namespace qm {

enum class RollingStatistic { Mean, Std, ZScore };

// Requires window >= 1; `out` must not alias `data`.
void rolling_statistic(const double* data, std::size_t rows, std::size_t cols, std::size_t window,
                       RollingStatistic statistic, double* out);

}  // namespace qm
