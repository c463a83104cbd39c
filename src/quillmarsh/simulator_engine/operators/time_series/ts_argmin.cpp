// ts_argmin(x, d): rows since the smallest of each column's trailing d values
//   occurred: 0 for the current row, d - 1 for the oldest. Among equal
//   extremes the oldest wins (the largest count).
// Input: one row of n float64 cells per step; output: n cells (whole numbers).
// NaN / warm-up: NaN until d rows are seen and wherever the window holds a NaN;
//   infinities are values. Exact. O(d) per cell, recomputed from the ring.
// State: "count", "window" = d, "ring" (1, d, n).
// Runs without the GIL, touches no Python object.
#include "operators/time_series/kernels.hpp"
#include "operators/time_series/windowed_operator.hpp"

namespace qm::ops {

namespace {

struct TsArgMin {
    static constexpr std::size_t inputs = 1;
    static constexpr bool whole_window = true;
    double operator()(const double* const* w, std::int64_t d) const {
        std::int64_t best = 0;
        for (std::int64_t k = 1; k < d; ++k) {
            if (w[0][k] < w[0][best]) best = k;
        }
        return static_cast<double>(d - 1 - best);
    }
};

}  // namespace

std::unique_ptr<RowOperator> make_ts_argmin(const std::vector<double>& params) {
    return make_windowed(TsArgMin{}, window_param(params));
}

}  // namespace qm::ops
