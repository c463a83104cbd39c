// ts_argmax(x, d) and ts_argmin(x, d): rows since the largest (smallest) of
//   each column's trailing d values occurred: 0 for the current row, d - 1 for
//   the oldest. Among equal extremes the oldest wins (the largest count).
// Input: one row of n float64 cells per step; output: n cells (whole numbers).
// NaN / warm-up: NaN until d rows are seen and wherever the window holds a NaN;
//   infinities are values. Exact. O(d) per cell, recomputed from the ring.
// State: "count", "window" = d, "ring" (1, d, n).
// Runs without the GIL, touches no Python object.
#include <algorithm>

#include "operators/time_series/kernels.hpp"
#include "operators/time_series/windowed_operator.hpp"

namespace qm::ops {

namespace {

template <bool Largest>
struct TsArgExtreme {
    static constexpr std::size_t inputs = 1;
    static constexpr bool whole_window = true;

    std::vector<double> best;  // scratch: the extreme so far per column

    void operator()(const double* const* rows, std::int64_t d, std::int64_t n, double* __restrict out) {
        best.assign(rows[0], rows[0] + n);
        double* __restrict extreme = best.data();
        std::fill(out, out + n, 0.0);  // the oldest row's index until a strictly better value comes
        for (std::int64_t k = 1; k < d; ++k) {
            const double* __restrict row = rows[k];
            const double index = static_cast<double>(k);
            // Two loops without branches, so the columns run side by side.
            for (std::int64_t j = 0; j < n; ++j) {
                const double better = static_cast<double>(Largest ? row[j] > extreme[j] : row[j] < extreme[j]);
                out[j] += better * (index - out[j]);
            }
            for (std::int64_t j = 0; j < n; ++j) {
                extreme[j] = Largest ? std::max(extreme[j], row[j]) : std::min(extreme[j], row[j]);
            }
        }
        const double newest = static_cast<double>(d - 1);
        for (std::int64_t j = 0; j < n; ++j) out[j] = newest - out[j];
    }
};

}  // namespace

std::unique_ptr<RowOperator> make_ts_argmax(const std::vector<double>& params) {
    return make_windowed(TsArgExtreme<true>{}, window_param(params));
}

std::unique_ptr<RowOperator> make_ts_argmin(const std::vector<double>& params) {
    return make_windowed(TsArgExtreme<false>{}, window_param(params));
}

}  // namespace qm::ops
