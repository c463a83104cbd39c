// ts_max(x, d): the largest of each column's trailing d values.
// Input: one row of n float64 cells per step; output: n cells.
// NaN / warm-up: NaN until d rows are seen and wherever the window holds a NaN;
//   infinities are values. Exact (a value of the window); -0.0 and 0.0 compare
//   equal and the oldest of them is returned.
// Complexity: O(d) per cell, recomputed from the ring.
// State: "count", "window" = d, "ring" (1, d, n).
// Runs without the GIL, touches no Python object.
#include "operators/time_series/kernels.hpp"
#include "operators/time_series/windowed_operator.hpp"

namespace qm::ops {

namespace {

struct TsMax {
    static constexpr std::size_t inputs = 1;
    static constexpr bool whole_window = true;

    void operator()(const double* const* rows, std::int64_t d, std::int64_t n, double* __restrict out) {
        std::copy(rows[0], rows[0] + n, out);
        for (std::int64_t k = 1; k < d; ++k) {
            const double* __restrict row = rows[k];
            for (std::int64_t j = 0; j < n; ++j) out[j] = row[j] > out[j] ? row[j] : out[j];
        }
    }
};

}  // namespace

std::unique_ptr<RowOperator> make_ts_max(const std::vector<double>& params) {
    return make_windowed(TsMax{}, window_param(params));
}

}  // namespace qm::ops
