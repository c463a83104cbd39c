// ts_rsquare(x, d): the coefficient of determination of the least-squares line
//   of each column's trailing d values on the time index k (0 for the oldest
//   row): Sxy^2 / (Sxx Syy), clamped to [0, 1]. NaN for d = 1 and for a
//   constant window (zero variance, nothing to explain).
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

struct TsRsquare {
    static constexpr std::size_t inputs = 1;
    static constexpr bool whole_window = true;
    double operator()(const double* const* w, std::int64_t d) const {
        if (all_equal(w[0], d)) return std::numeric_limits<double>::quiet_NaN();
        const Accum mean = window_mean(w[0], d);
        const Accum sxy = time_cross_sum(w[0], mean, d);
        const Accum syy = centered_cross_sum(w[0], mean, w[0], mean, d);
        const Accum r2 = sxy * sxy / (time_square_sum(d) * syy);
        // Rounding can step just past 1; a NaN (from infinities) stays NaN.
        return static_cast<double>(r2 > 1.0L ? 1.0L : r2);
    }
};

}  // namespace

std::unique_ptr<RowOperator> make_ts_rsquare(const std::vector<double>& params) {
    return make_windowed(TsRsquare{}, window_param(params));
}

}  // namespace qm::ops
