// decay_linear(x, d) and wma(x, d): the linearly weighted mean of each
//   column's trailing d values, weight d for the current row down to 1 for the
//   oldest, normalised by the weights' sum d (d + 1) / 2.
// Input: one row of n float64 cells per step; output: n cells.
// NaN / warm-up: NaN until d rows are seen and wherever the window holds a NaN;
//   infinities are values.
// Arithmetic: the weighted sum runs oldest to newest in float64 and is
//   divided once; recomputed from the ring at every row, so no error builds
//   up over a run. O(d) per cell.
// State: "count", "window" = d, "ring" (1, d, n).
// Runs without the GIL, touches no Python object.
#include "operators/time_series/column_blocks.hpp"
#include "operators/time_series/kernels.hpp"
#include "operators/time_series/window_math.hpp"
#include "operators/time_series/windowed_operator.hpp"

namespace qm::ops {

namespace {

// out[j] = sum over k of (k + 1) * x_k, oldest to newest, divided by the weights' sum.
QM_VECTOR_CLONES
void decay_linear(const double* const* rows, std::int64_t d, std::int64_t n, double* __restrict out) {
    const double weights = static_cast<double>(d) * static_cast<double>(d + 1) / 2.0;
    for_column_blocks<8>(n, [&](std::int64_t j0, auto lane, auto groups) __attribute__((always_inline)) {
        using V = decltype(lane);
        constexpr std::int64_t G = decltype(groups)::value, S = lanes_of<V>;
        V total[G] = {};
        for (std::int64_t k = 0; k < d; ++k) {
            const double* row = rows[k] + j0;
            const double weight = static_cast<double>(k + 1);
            for (std::int64_t g = 0; g < G; ++g) total[g] += weight * load<V>(row + g * S);
        }
        for (std::int64_t g = 0; g < G; ++g) store(out + j0 + g * S, total[g] / weights);
    });
}

struct DecayLinear {
    static constexpr std::size_t inputs = 1;
    static constexpr bool whole_window = true;

    void operator()(const double* const* rows, std::int64_t d, std::int64_t n, double* __restrict out) {
        decay_linear(rows, d, n, out);
    }
};

}  // namespace

std::unique_ptr<RowOperator> make_ts_decay_linear(const std::vector<double>& params) {
    return make_windowed(DecayLinear{}, window_param(params));
}

}  // namespace qm::ops
