// covariance(x, y, d): the covariance of each column's trailing d values of x
//   and y, divisor d: sum((x - mean x) (y - mean y)) / d.
// Inputs: one row of n float64 cells of x and of y per step; output: n cells.
// NaN / warm-up: NaN until d rows are seen and wherever either window holds a
//   NaN; infinities are values (an infinite mean gives NaN deviations).
// Arithmetic: two passes (means, then centred products) oldest to newest in
//   long double, rounded to float64 once; a constant window gives exactly 0.
//   Recomputed from the ring at every row. O(d) per cell.
// State: "count", "window" = d, "ring" (2, d, n).
// Runs without the GIL, touches no Python object.
#include "operators/time_series/kernels.hpp"
#include "operators/time_series/window_math.hpp"
#include "operators/time_series/windowed_operator.hpp"

namespace qm::ops {

namespace {

struct Covariance {
    static constexpr std::size_t inputs = 2;
    static constexpr bool whole_window = true;
    double operator()(const double* const* w, std::int64_t d) const {
        const Accum mean_x = window_mean(w[0], d);
        const Accum mean_y = window_mean(w[1], d);
        return static_cast<double>(centered_cross_sum(w[0], mean_x, w[1], mean_y, d) / static_cast<Accum>(d));
    }
};

}  // namespace

std::unique_ptr<RowOperator> make_ts_covariance(const std::vector<double>& params) {
    return make_windowed(Covariance{}, window_param(params));
}

}  // namespace qm::ops
