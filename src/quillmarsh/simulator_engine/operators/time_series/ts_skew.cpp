// ts_skew(x, d): the skewness of each column's trailing d values from population
//   moments, m3 / m2^1.5 with mk = sum((x - mean)^k) / d.
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

struct TsSkew {
    static constexpr std::size_t inputs = 1;
    static constexpr bool whole_window = true;

    std::vector<double> mean, sum2, sum3;
    std::vector<double> differs;  // scratch of column_means

    void operator()(const double* const* rows, std::int64_t d, std::int64_t n, double* __restrict out) {
        double* __restrict m = at_width(mean, n);
        column_means(rows, d, n, m, differs);
        double* __restrict s2 = at_width(sum2, n);
        double* __restrict s3 = at_width(sum3, n);
        std::fill(s2, s2 + n, 0.0);
        std::fill(s3, s3 + n, 0.0);
        for (std::int64_t k = 0; k < d; ++k) {
            const double* __restrict row = rows[k];
            for (std::int64_t j = 0; j < n; ++j) {
                const double dev = row[j] - m[j];
                const double dev2 = dev * dev;
                s2[j] += dev2;
                s3[j] += dev2 * dev;
            }
        }
        const double count = static_cast<double>(d);
        for (std::int64_t j = 0; j < n; ++j) {
            // A constant window has m2 = 0 and gives 0 / 0: NaN.
            const double m2 = s2[j] / count;
            const double m3 = s3[j] / count;
            out[j] = m3 / (m2 * std::sqrt(m2));
        }
    }
};

}  // namespace

std::unique_ptr<RowOperator> make_ts_skew(const std::vector<double>& params) {
    return make_windowed(TsSkew{}, window_param(params));
}

}  // namespace qm::ops
