// ts_slope(x, d): the slope of the least-squares line of each column's trailing
//   d values on the time index k (0 for the oldest row, d - 1 for the current
//   one): sum((k - kbar)(x - xbar)) / sum((k - kbar)^2). NaN for d = 1.
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

struct TsSlope {
    static constexpr std::size_t inputs = 1;
    static constexpr bool whole_window = true;

    std::vector<double> mean;
    std::vector<double> differs;  // scratch of column_means

    void operator()(const double* const* rows, std::int64_t d, std::int64_t n, double* __restrict out) {
        column_means(rows, d, n, at_width(mean, n), differs);
        time_cross_sums(rows, mean.data(), d, n, out);
        // d = 1 divides 0 by 0: NaN.
        const double times = time_square_sum(d);
        for (std::int64_t j = 0; j < n; ++j) out[j] /= times;
    }
};

}  // namespace

std::unique_ptr<RowOperator> make_ts_slope(const std::vector<double>& params) {
    return make_windowed(TsSlope{}, window_param(params));
}

}  // namespace qm::ops
