// ts_skew(x, d): the skewness of each column's trailing d values from population
//   moments, m3 / m2^1.5 with mk = sum((x - mean)^k) / d.
// Input: one row of n float64 cells per step; output: n cells.
// NaN / warm-up: NaN until d rows are seen, wherever the window holds a NaN,
//   and for a constant window (zero variance, which includes d = 1);
//   infinities are values (an infinite mean gives NaN).
// Arithmetic: two passes (mean, then centred powers) oldest to newest in long
//   double, rounded to float64 once; recomputed from the ring at every row.
// Complexity: O(d) per cell. State: "count", "window" = d, "ring" (1, d, n).
// Runs without the GIL, touches no Python object.
#include <cmath>

#include "operators/time_series/kernels.hpp"
#include "operators/time_series/window_math.hpp"
#include "operators/time_series/windowed_operator.hpp"

namespace qm::ops {

namespace {

struct TsSkew {
    static constexpr std::size_t inputs = 1;
    static constexpr bool whole_window = true;
    double operator()(const double* const* w, std::int64_t d) const {
        if (all_equal(w[0], d)) return std::numeric_limits<double>::quiet_NaN();
        const Accum mean = window_mean(w[0], d);
        Accum sum2 = 0.0L;
        Accum sum3 = 0.0L;
        for (std::int64_t k = 0; k < d; ++k) {
            const Accum dev = w[0][k] - mean;
            const Accum dev2 = dev * dev;
            sum2 += dev2;
            sum3 += dev2 * dev;
        }
        const Accum m2 = sum2 / static_cast<Accum>(d);
        const Accum m3 = sum3 / static_cast<Accum>(d);
        return static_cast<double>(m3 / (m2 * std::sqrt(m2)));
    }
};

}  // namespace

std::unique_ptr<RowOperator> make_ts_skew(const std::vector<double>& params) {
    return make_windowed(TsSkew{}, window_param(params));
}

}  // namespace qm::ops
