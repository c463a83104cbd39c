// covariance(x, y, d): the covariance of each column's trailing d values of x
//   and y, divisor d: sum((x - mean x) (y - mean y)) / d.
// Inputs: one row of n float64 cells of x and of y per step; output: n cells.
// NaN / warm-up: NaN until d rows are seen and wherever either window holds a
//   NaN; infinities are values (an infinite mean gives NaN deviations).
// Arithmetic: two passes (means, then centred products) oldest to newest in
//   float64; a constant window's mean is its value, so it gives exactly 0.
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

    std::vector<double> mean_x, mean_y;
    std::vector<double> differs;  // scratch of column_means

    void operator()(const double* const* rows, std::int64_t d, std::int64_t n, double* __restrict out) {
        const double* const* x = rows;
        const double* const* y = rows + d;
        column_means(x, d, n, at_width(mean_x, n), differs);
        column_means(y, d, n, at_width(mean_y, n), differs);
        centered_cross_sums(x, mean_x.data(), y, mean_y.data(), d, n, out);
        const double count = static_cast<double>(d);
        for (std::int64_t j = 0; j < n; ++j) out[j] /= count;
    }
};

}  // namespace

std::unique_ptr<RowOperator> make_ts_covariance(const std::vector<double>& params) {
    return make_windowed(Covariance{}, window_param(params));
}

}  // namespace qm::ops
