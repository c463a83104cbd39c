// ts_residual(x, d): the current value of each column minus the value the
//   least-squares line of its trailing d values on the time index fits at the
//   current row: x - (xbar + slope (d - 1) / 2). NaN for d = 1; 0 for a
//   constant window.
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

struct TsResidual {
    static constexpr std::size_t inputs = 1;
    static constexpr bool whole_window = true;
    double operator()(const double* const* w, std::int64_t d) const {
        if (d < 2) return std::numeric_limits<double>::quiet_NaN();
        const Accum mean = window_mean(w[0], d);
        const Accum slope = time_cross_sum(w[0], mean, d) / time_square_sum(d);
        const Accum fitted = mean + slope * static_cast<Accum>(d - 1) / 2.0L;
        return static_cast<double>(w[0][d - 1] - fitted);
    }
};

}  // namespace

std::unique_ptr<RowOperator> make_ts_residual(const std::vector<double>& params) {
    return make_windowed(TsResidual{}, window_param(params));
}

}  // namespace qm::ops
