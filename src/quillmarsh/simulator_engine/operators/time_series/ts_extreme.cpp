// ts_max(x, d) and ts_min(x, d): the largest and the smallest of each column's
//   trailing d values.
// Input: one row of n float64 cells per step; output: n cells.
// NaN / warm-up: NaN until d rows are seen and wherever the window holds a NaN;
//   infinities are values. Exact (a value of the window); -0.0 and 0.0 compare
//   equal and the oldest of them is returned.
// Complexity: O(d) per cell, recomputed from the ring.
// State: "count", "window" = d, "ring" (1, d, n).
// Runs without the GIL, touches no Python object.
#include "operators/time_series/column_blocks.hpp"
#include "operators/time_series/kernels.hpp"
#include "operators/time_series/windowed_operator.hpp"

namespace qm::ops {

namespace {

// out[j] = the extreme of column j's window, the oldest of equal values; a
// value replaces the extreme only when strictly better. Inlined into the two
// cloned entry points below, so each gets its AVX2 copy.
template <bool Largest>
__attribute__((always_inline)) inline void window_extremes(const double* const* rows, std::int64_t d,
                                                           std::int64_t n, double* __restrict out) {
    for_column_blocks<4>(n, [&](std::int64_t j0, auto lane, auto groups) __attribute__((always_inline)) {
        using V = decltype(lane);
        constexpr std::int64_t G = decltype(groups)::value, S = lanes_of<V>;
        V extreme[G];
        for (std::int64_t g = 0; g < G; ++g) extreme[g] = load<V>(rows[0] + j0 + g * S);
        for (std::int64_t k = 1; k < d; ++k) {
            const double* row = rows[k] + j0;
            for (std::int64_t g = 0; g < G; ++g) {
                const V value = load<V>(row + g * S);
                if constexpr (Largest) {
                    extreme[g] = value > extreme[g] ? value : extreme[g];
                } else {
                    extreme[g] = value < extreme[g] ? value : extreme[g];
                }
            }
        }
        for (std::int64_t g = 0; g < G; ++g) store(out + j0 + g * S, extreme[g]);
    });
}

QM_VECTOR_CLONES
void window_maxima(const double* const* rows, std::int64_t d, std::int64_t n, double* __restrict out) {
    window_extremes<true>(rows, d, n, out);
}

QM_VECTOR_CLONES
void window_minima(const double* const* rows, std::int64_t d, std::int64_t n, double* __restrict out) {
    window_extremes<false>(rows, d, n, out);
}

template <bool Largest>
struct TsExtreme {
    static constexpr std::size_t inputs = 1;
    static constexpr bool whole_window = true;

    void operator()(const double* const* rows, std::int64_t d, std::int64_t n, double* __restrict out) {
        if constexpr (Largest) {
            window_maxima(rows, d, n, out);
        } else {
            window_minima(rows, d, n, out);
        }
    }
};

}  // namespace

std::unique_ptr<RowOperator> make_ts_max(const std::vector<double>& params) {
    return make_windowed(TsExtreme<true>{}, window_param(params));
}

std::unique_ptr<RowOperator> make_ts_min(const std::vector<double>& params) {
    return make_windowed(TsExtreme<false>{}, window_param(params));
}

}  // namespace qm::ops
