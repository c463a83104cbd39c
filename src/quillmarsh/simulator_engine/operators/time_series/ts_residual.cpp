// ts_residual(x, d): the current value of each column minus the value the
//   least-squares line of its trailing d values on the time index fits at the
//   current row: x - (xbar + slope (d - 1) / 2). NaN for d = 1; 0 for a
//   constant window.
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

struct TsResidual {
    static constexpr std::size_t inputs = 1;
    static constexpr bool whole_window = true;

    std::vector<double> mean, cross;
    std::vector<double> differs;  // scratch of column_means

    void operator()(const double* const* rows, std::int64_t d, std::int64_t n, double* __restrict out) {
        column_means(rows, d, n, at_width(mean, n), differs);
        time_cross_sums(rows, mean.data(), d, n, at_width(cross, n));
        // d = 1 divides 0 by 0: a NaN slope and residual.
        const double times = time_square_sum(d);
        const double half_span = static_cast<double>(d - 1) / 2.0;
        for (std::int64_t j = 0; j < n; ++j) {
            const double slope = cross[j] / times;
            out[j] = rows[d - 1][j] - (mean[j] + slope * half_span);
        }
    }
};

}  // namespace

std::unique_ptr<RowOperator> make_ts_residual(const std::vector<double>& params) {
    return make_windowed(TsResidual{}, window_param(params));
}

}  // namespace qm::ops
