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
#include "operators/time_series/column_blocks.hpp"
#include "operators/time_series/kernels.hpp"
#include "operators/time_series/windowed_operator.hpp"

namespace qm::ops {

namespace {

// out[j] = (2 * below + equal + 1) / (2 * d) for the newest value of column j.
QM_VECTOR_CLONES
void window_ranks(const double* const* rows, std::int64_t d, std::int64_t n, double* __restrict out) {
    const double scale = 2.0 * static_cast<double>(d);
    for_column_blocks<4>(n, [&](std::int64_t j0, auto lane, auto groups) __attribute__((always_inline)) {
        using V = decltype(lane);
        constexpr std::int64_t G = decltype(groups)::value, S = lanes_of<V>;
        V current[G], twice_rank[G];
        for (std::int64_t g = 0; g < G; ++g) {
            current[g] = load<V>(rows[d - 1] + j0 + g * S);
            twice_rank[g] = splat<V>(1.0);
        }
        for (std::int64_t k = 0; k < d; ++k) {
            const double* row = rows[k] + j0;
            for (std::int64_t g = 0; g < G; ++g) {
                const V value = load<V>(row + g * S);
                twice_rank[g] += select_value(value < current[g], 2.0) + select_value(value == current[g], 1.0);
            }
        }
        for (std::int64_t g = 0; g < G; ++g) store(out + j0 + g * S, twice_rank[g] / scale);
    });
}

struct TsRank {
    static constexpr std::size_t inputs = 1;
    static constexpr bool whole_window = true;

    void operator()(const double* const* rows, std::int64_t d, std::int64_t n, double* __restrict out) {
        window_ranks(rows, d, n, out);
    }
};

}  // namespace

std::unique_ptr<RowOperator> make_ts_rank(const std::vector<double>& params) {
    return make_windowed(TsRank{}, window_param(params));
}

}  // namespace qm::ops
