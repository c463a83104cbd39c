// delta(x, d): x - delay(x, d), the change of each column over d rows.
// Input: one row of n float64 cells per step; output: n cells.
// History: d + 1 rows, so the payload's "window" is d + 1 and the first d rows
//   are NaN (warm-up).
// NaN: NaN when either of the two values is NaN (IEEE: inf - inf is NaN); the
//   rows in between do not matter. Exact (one float64 subtraction). O(1) per cell.
// State: "count", "window" = d + 1, "ring" (1, d + 1, n).
// Runs without the GIL, touches no Python object.
#include "operators/time_series/kernels.hpp"
#include "operators/time_series/windowed_operator.hpp"

namespace qm::ops {

namespace {

struct Delta {
    static constexpr std::size_t inputs = 1;
    static constexpr bool whole_window = false;

    void operator()(const double* const* rows, std::int64_t d, std::int64_t n, double* __restrict out) {
        for (std::int64_t j = 0; j < n; ++j) out[j] = rows[d - 1][j] - rows[0][j];
    }
};

}  // namespace

std::unique_ptr<RowOperator> make_ts_delta(const std::vector<double>& params) {
    return make_windowed(Delta{}, window_param(params) + 1);
}

}  // namespace qm::ops
