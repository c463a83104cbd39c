// ts_sum(x, d): the sum of each column's trailing d values.
// Input: one row of n float64 cells per step; output: n cells.
// NaN / warm-up: NaN until d rows are seen and wherever the window holds a NaN;
//   infinities are values (inf + -inf is NaN).
// Arithmetic: summed oldest to newest in long double, rounded to float64 once;
//   recomputed from the ring at every row, so no error builds up over a run.
// Complexity: O(d) per cell. State: "count", "window" = d, "ring" (1, d, n).
// Runs without the GIL, touches no Python object.
#include "operators/time_series/kernels.hpp"
#include "operators/time_series/window_math.hpp"
#include "operators/time_series/windowed_operator.hpp"

namespace qm::ops {

namespace {

struct Sum {
    static constexpr std::size_t inputs = 1;
    static constexpr bool whole_window = true;
    double operator()(const double* const* w, std::int64_t d) const {
        Accum sum = 0.0L;
        for (std::int64_t k = 0; k < d; ++k) sum += w[0][k];
        return static_cast<double>(sum);
    }
};

}  // namespace

std::unique_ptr<RowOperator> make_ts_sum(const std::vector<double>& params) {
    return make_windowed(Sum{}, window_param(params));
}

}  // namespace qm::ops
