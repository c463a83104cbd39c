// One row of a streaming rolling mean, standard deviation or z-score, carried
// out in place on the caller's running state.
//
// State (all C-contiguous, N columns):
//   ring       window x N float64: the raw rows, row r in slot r % window;
//   missing    N int64: NaN cells among the rows held by the ring;
//   lead, lead_sq  N long double: sum of every row seen (NaN as 0) and of squares;
//   lag, lag_sq    N long double: the same sums over the rows that left the window.
//   A mean reads and writes neither square sum.
// Step for row number `count` (0-based), going to slot count % window: in
// steady state (count >= window) the row held in that slot departs first and
// joins the lagging sums; then the new row joins the leading sums, the NaN
// counts and the ring.
// Output: `out`, N float64. NaN during warm-up (count + 1 < window) and where
//   the window holds a NaN; otherwise the statistic of the window.
// Arithmetic: the whole-matrix kernel's (rolling.hpp), cell for cell through
//   rolling_cell.hpp, so feeding rows 0, 1, 2, ... reproduces its rows bit for bit.
// Complexity: O(N). `out` must not alias the state.
// Runs without the GIL, touches no Python object.
#pragma once

#include <cstddef>
#include <cstdint>

#include "fast_paths/rolling.hpp"

namespace qm {

struct RollingState {
    double* ring;
    std::int64_t* missing;
    long double* lead;
    long double* lead_sq;
    long double* lag;
    long double* lag_sq;
    std::size_t window;  // >= 1
    std::size_t cols;
};

void rolling_step(const RollingState& state, const double* row, std::size_t count, RollingStatistic statistic,
                  double* out);

}  // namespace qm
