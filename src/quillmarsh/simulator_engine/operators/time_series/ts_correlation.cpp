// correlation(x, y, d): the Pearson correlation of each column's trailing d
//   values of x and y, clamped to [-1, 1]; NaN when either window has zero
//   variance (all its values equal, which includes d = 1).
// Inputs: one row of n float64 cells of x and of y per step; output: n cells.
// NaN / warm-up: NaN until d rows are seen and wherever either window holds a
//   NaN; infinities are values (an infinite mean gives NaN).
// Arithmetic: two passes (means, then centred sums) oldest to newest in long
//   double; cov / sqrt(var x * var y) rounded to float64 once. Recomputed from
//   the ring at every row. O(d) per cell.
// State: "count", "window" = d, "ring" (2, d, n).
// Runs without the GIL, touches no Python object.
#include <cmath>

#include "operators/time_series/kernels.hpp"
#include "operators/time_series/window_math.hpp"
#include "operators/time_series/windowed_operator.hpp"

namespace qm::ops {

namespace {

struct Correlation {
    static constexpr std::size_t inputs = 2;
    static constexpr bool whole_window = true;
    double operator()(const double* const* w, std::int64_t d) const {
        if (all_equal(w[0], d) || all_equal(w[1], d)) return std::numeric_limits<double>::quiet_NaN();
        const Accum mean_x = window_mean(w[0], d);
        const Accum mean_y = window_mean(w[1], d);
        const Accum cross = centered_cross_sum(w[0], mean_x, w[1], mean_y, d);
        const Accum var_x = centered_cross_sum(w[0], mean_x, w[0], mean_x, d);
        const Accum var_y = centered_cross_sum(w[1], mean_y, w[1], mean_y, d);
        const Accum r = cross / std::sqrt(var_x * var_y);
        // Rounding can step just past +-1; a NaN (from infinities) stays NaN.
        return static_cast<double>(r > 1.0L ? 1.0L : r < -1.0L ? -1.0L : r);
    }
};

}  // namespace

std::unique_ptr<RowOperator> make_ts_correlation(const std::vector<double>& params) {
    return make_windowed(Correlation{}, window_param(params));
}

}  // namespace qm::ops
