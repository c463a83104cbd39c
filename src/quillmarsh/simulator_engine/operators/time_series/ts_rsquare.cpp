// ts_rsquare(x, d): the coefficient of determination of the least-squares line
//   of each column's trailing d values on the time index k (0 for the oldest
//   row): Sxy^2 / (Sxx Syy), clamped to [0, 1]. NaN for d = 1 and for a
//   constant window (zero variance, nothing to explain).
// Input: one row of n float64 cells per step; output: n cells.
// NaN / warm-up: NaN until d rows are seen and wherever the window holds a NaN;
//   infinities are values (an infinite mean gives NaN).
// Arithmetic: two passes (mean, then centred sums) oldest to newest in
//   float64; a constant window's mean is its value, so its deviations are
//   exactly 0. Recomputed from the ring at every row.
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

    std::vector<double> mean, squares;
    std::vector<double> differs;  // scratch of column_means

    void operator()(const double* const* rows, std::int64_t d, std::int64_t n, double* __restrict out) {
        double* __restrict m = at_width(mean, n);
        column_means(rows, d, n, m, differs);
        time_cross_sums(rows, m, d, n, out);
        centered_cross_sums(rows, m, rows, m, d, n, at_width(squares, n));
        const double times = time_square_sum(d);
        for (std::int64_t j = 0; j < n; ++j) {
            // A constant window (or d = 1) gives 0 / 0: NaN.
            const double r2 = out[j] * out[j] / (times * squares[j]);
            // Rounding can step just past 1; a NaN (from infinities) stays NaN.
            out[j] = r2 > 1.0 ? 1.0 : r2;
        }
    }
};

}  // namespace

std::unique_ptr<RowOperator> make_ts_rsquare(const std::vector<double>& params) {
    return make_windowed(TsRsquare{}, window_param(params));
}

}  // namespace qm::ops
