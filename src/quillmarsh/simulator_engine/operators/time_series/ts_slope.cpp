// ts_slope(x, d): the slope of the least-squares line of each column's trailing
//   d values on the time index k (0 for the oldest row, d - 1 for the current
//   one): sum((k - kbar)(x - xbar)) / sum((k - kbar)^2). NaN for d = 1.
// Input: one row of n float64 cells per step; output: n cells.
// NaN / warm-up: NaN until d rows are seen and wherever the window holds a NaN;
//   infinities are values (an infinite mean gives NaN).
// Arithmetic: two passes (mean, then centred sums) oldest to newest in long
//   double, rounded to float64 once; recomputed from the ring at every row.
// Complexity: O(d) per cell. State: "count", "window" = d, "ring" (1, d, n).
// Runs without the GIL, touches no Python object.
#include "operators/time_series/kernels.hpp"
#include "operators/time_series/window_math.hpp"
#include "operators/time_series/windowed_operator.hpp"

namespace qm::ops {

namespace {

struct TsSlope {
    static constexpr std::size_t inputs = 1;
    static constexpr bool whole_window = true;
    double operator()(const double* const* w, std::int64_t d) const {
        if (d < 2) return std::numeric_limits<double>::quiet_NaN();
        const Accum mean = window_mean(w[0], d);
        return static_cast<double>(time_cross_sum(w[0], mean, d) / time_square_sum(d));
    }
};

}  // namespace

std::unique_ptr<RowOperator> make_ts_slope(const std::vector<double>& params) {
    return make_windowed(TsSlope{}, window_param(params));
}

}  // namespace qm::ops
