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

    std::vector<double> twice_rank;  // scratch: 2 * below + equal + 1 per column

    void operator()(const double* const* rows, std::int64_t d, std::int64_t n, double* __restrict out) {
        const double* current = rows[d - 1];
        twice_rank.assign(static_cast<std::size_t>(n), 1.0);
        for (std::int64_t k = 0; k < d; ++k) {
            const double* __restrict row = rows[k];
            for (std::int64_t j = 0; j < n; ++j) {
                twice_rank[j] += 2.0 * (row[j] < current[j]) + (row[j] == current[j]);
            }
        }
        const double scale = 2.0 * static_cast<double>(d);
        for (std::int64_t j = 0; j < n; ++j) out[j] = twice_rank[j] / scale;
    }
};

}  // namespace

std::unique_ptr<RowOperator> make_ts_rank(const std::vector<double>& params) {
    return make_windowed(TsRank{}, window_param(params));
}

}  // namespace qm::ops
