// covariance(x, y, d): the covariance of each column's trailing d values of x
//   and y, divisor d: sum((x - mean x) (y - mean y)) / d.
// Inputs: one row of n float64 cells of x and of y per step; output: n cells.
// NaN / warm-up: NaN until d rows are seen and wherever either window holds a
//   NaN; infinities are values (inf - inf is NaN).
// Arithmetic: one pass oldest to newest in float64 over the values shifted by
//   the window's oldest value (see centered_pair_sums); a constant window
//   gives exactly 0. Recomputed from the ring at every row. O(d) per cell.
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

    PairSums sums;

    void operator()(const double* const* rows, std::int64_t d, std::int64_t n, double* __restrict out) {
        centered_pair_sums(rows, rows + d, d, n, sums);
        const double count = static_cast<double>(d);
        for (std::int64_t j = 0; j < n; ++j) out[j] = sums.cross[j] / count;
    }
};

}  // namespace

std::unique_ptr<RowOperator> make_ts_covariance(const std::vector<double>& params) {
    return make_windowed(Covariance{}, window_param(params));
}

}  // namespace qm::ops
