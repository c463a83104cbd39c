// ts_quantile(x, d, q) and ts_median(x, d) = ts_quantile(x, d, 0.5): the q-th
//   quantile of each column's trailing d values, interpolated linearly between
//   order statistics: with s the sorted window, p = q (d - 1), i = floor(p),
//   f = p - i, the cell is s[i] when f is 0, else s[i] + f (s[i + 1] - s[i]).
// Input: one row of n float64 cells per step; output: n cells. q in [0, 1].
// NaN / warm-up: NaN until d rows are seen and wherever the window holds a NaN;
//   infinities are values (interpolating between -inf and inf gives NaN).
// Exact: order statistics of the window, at most one interpolation in float64.
// Complexity: O(d log d) per cell, recomputed from the ring.
// State: "count", "window" = d, "ring" (1, d, n).
// Runs without the GIL, touches no Python object.
#include <algorithm>
#include <cmath>
#include <stdexcept>
#include <string>

#include "operators/time_series/kernels.hpp"
#include "operators/time_series/windowed_operator.hpp"

namespace qm::ops {

namespace {

struct Quantile {
    static constexpr std::size_t inputs = 1;
    static constexpr bool whole_window = true;

    double q;
    std::vector<double> sorted;  // scratch: one column's window in ascending order

    void operator()(const double* const* rows, std::int64_t d, std::int64_t n, double* __restrict out) {
        const double position = q * static_cast<double>(d - 1);
        const double below = std::floor(position);
        const double fraction = position - below;
        const auto i = static_cast<std::size_t>(below);
        sorted.resize(static_cast<std::size_t>(d));
        for (std::int64_t j = 0; j < n; ++j) {
            for (std::int64_t k = 0; k < d; ++k) sorted[k] = rows[k][j];
            std::sort(sorted.begin(), sorted.end());
            out[j] = fraction == 0.0 ? sorted[i] : sorted[i] + fraction * (sorted[i + 1] - sorted[i]);
        }
    }
};

}  // namespace

std::unique_ptr<RowOperator> make_ts_quantile(const std::vector<double>& params) {
    const double q = params.at(1);
    if (!(q >= 0.0 && q <= 1.0)) {
        throw std::invalid_argument("q must be between 0 and 1, got " + std::to_string(q));
    }
    return make_windowed(Quantile{q, {}}, window_param(params));
}

std::unique_ptr<RowOperator> make_ts_median(const std::vector<double>& params) {
    return make_windowed(Quantile{0.5, {}}, window_param(params));
}

}  // namespace qm::ops
