// ts_rank(x, d): the rank of each column's current value among its trailing d
//   values, 1 for the smallest, tied values sharing the average of their
//   positions, divided by d: a value in (0, 1], 1 for a strict maximum.
// Input: one row of n float64 cells per step; output: n cells.
// NaN / warm-up: NaN until d rows are seen and wherever the window holds a NaN;
//   infinities are values and equal infinities tie; -0.0 ties with 0.0.
// Exact: (2 * below + equal + 1) / (2 * d) with whole-number operands, one
//   rounding. O(d) per cell, recomputed from the ring.
// State: "count", "window" = d, "ring" (1, d, n).
// Runs without the GIL, touches no Python object.
#include "operators/time_series/kernels.hpp"
#include "operators/time_series/windowed_operator.hpp"

namespace qm::ops {

namespace {

struct TsRank {
    static constexpr std::size_t inputs = 1;
    static constexpr bool whole_window = true;
    double operator()(const double* const* w, std::int64_t d) const {
        const double current = w[0][d - 1];
        std::int64_t below = 0;
        std::int64_t equal = 0;  // the current value included
        for (std::int64_t k = 0; k < d; ++k) {
            below += w[0][k] < current;
            equal += w[0][k] == current;
        }
        return static_cast<double>(2 * below + equal + 1) / static_cast<double>(2 * d);
    }
};

}  // namespace

std::unique_ptr<RowOperator> make_ts_rank(const std::vector<double>& params) {
    return make_windowed(TsRank{}, window_param(params));
}

}  // namespace qm::ops
