// delay(x, d): each column's value d rows ago.
// Input: one row of n float64 cells per step; output: n cells.
// History: d + 1 rows (the current row and the d before it), so the payload's
//   "window" is d + 1 and the first d rows are NaN (warm-up).
// NaN: the cell is the old value itself, NaN only when that value is NaN; the
//   rows in between do not matter. Exact (a copy). O(1) per cell.
// State: "count", "window" = d + 1, "ring" (1, d + 1, n).
// Runs without the GIL, touches no Python object.
#include "operators/time_series/kernels.hpp"
#include "operators/time_series/windowed_operator.hpp"

namespace qm::ops {

namespace {

struct Delay {
    static constexpr std::size_t inputs = 1;
    static constexpr bool whole_window = false;

    void operator()(const double* const* rows, std::int64_t d, std::int64_t n, double* __restrict out) {
        std::copy(rows[0], rows[0] + n, out);
    }
};

}  // namespace

std::unique_ptr<RowOperator> make_ts_delay(const std::vector<double>& params) {
    return make_windowed(Delay{}, window_param(params) + 1);
}

}  // namespace qm::ops
