// ts_sum(x, d): the sum of each column's trailing d values.
// Input: one row of n float64 cells per step; output: n cells.
// NaN / warm-up: NaN until d rows are seen and wherever the window holds a NaN;
//   infinities are values (inf + -inf is NaN).
// Arithmetic: summed oldest to newest in float64, recomputed from the ring at
//   every row, so no error builds up over a run.
// Complexity: O(d) per cell. State: "count", "window" = d, "ring" (1, d, n).
// Runs without the GIL, touches no Python object.
#include "operators/time_series/kernels.hpp"
#include "operators/time_series/window_math.hpp"
#include "operators/time_series/windowed_operator.hpp"

namespace qm::ops {

namespace {

struct Sum {
    static constexpr std::size_t inputs = 1;
    static constexpr bool whole_window = true;

    void operator()(const double* const* rows, std::int64_t d, std::int64_t n, double* __restrict out) {
        column_sums(rows, d, n, out);
    }
};

}  // namespace

std::unique_ptr<RowOperator> make_ts_sum(const std::vector<double>& params) {
    return make_windowed(Sum{}, window_param(params));
}

}  // namespace qm::ops
