// ts_skew(x, d) and ts_kurt(x, d): the standardised third and fourth moments of
//   each column's trailing d values from population moments, with
//   mk = sum((x - mean)^k) / d: skewness m3 / m2^1.5, excess kurtosis m4 / m2^2 - 3.
// Input: one row of n float64 cells per step; output: n cells.
// NaN / warm-up: NaN until d rows are seen, wherever the window holds a NaN,
//   and for a constant window (zero variance, which includes d = 1);
//   infinities are values (an infinite mean gives NaN).
// Arithmetic: two passes (mean, then centred powers) oldest to newest in
//   float64; a constant window's mean is its value, so its deviations are
//   exactly 0. Recomputed from the ring at every row.
// Complexity: O(d) per cell. State: "count", "window" = d, "ring" (1, d, n).
// Runs without the GIL, touches no Python object.
#include <cmath>

#include "operators/time_series/kernels.hpp"
#include "operators/time_series/window_math.hpp"
#include "operators/time_series/windowed_operator.hpp"

namespace qm::ops {

namespace {

template <int Order>
struct TsStandardMoment {
    static_assert(Order == 3 || Order == 4, "skewness or kurtosis");
    static constexpr std::size_t inputs = 1;
    static constexpr bool whole_window = true;

    std::vector<double> mean, sum2, sum_k;
    std::vector<double> differs;  // scratch of column_means

    void operator()(const double* const* rows, std::int64_t d, std::int64_t n, double* __restrict out) {
        double* __restrict m = at_width(mean, n);
        column_means(rows, d, n, m, differs);
        double* __restrict s2 = at_width(sum2, n);
        double* __restrict sk = at_width(sum_k, n);
        std::fill(s2, s2 + n, 0.0);
        std::fill(sk, sk + n, 0.0);
        for (std::int64_t k = 0; k < d; ++k) {
            const double* __restrict row = rows[k];
            for (std::int64_t j = 0; j < n; ++j) {
                const double dev = row[j] - m[j];
                const double dev2 = dev * dev;
                s2[j] += dev2;
                sk[j] += Order == 3 ? dev2 * dev : dev2 * dev2;
            }
        }
        const double count = static_cast<double>(d);
        for (std::int64_t j = 0; j < n; ++j) {
            // A constant window has m2 = 0 and gives 0 / 0: NaN.
            const double m2 = s2[j] / count;
            const double mk = sk[j] / count;
            out[j] = Order == 3 ? mk / (m2 * std::sqrt(m2)) : mk / (m2 * m2) - 3.0;
        }
    }
};

}  // namespace

std::unique_ptr<RowOperator> make_ts_skew(const std::vector<double>& params) {
    return make_windowed(TsStandardMoment<3>{}, window_param(params));
}

std::unique_ptr<RowOperator> make_ts_kurt(const std::vector<double>& params) {
    return make_windowed(TsStandardMoment<4>{}, window_param(params));
}

}  // namespace qm::ops
