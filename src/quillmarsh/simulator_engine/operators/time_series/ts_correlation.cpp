// correlation(x, y, d): the Pearson correlation of each column's trailing d
//   values of x and y, clamped to [-1, 1]; NaN when either window has zero
//   variance (all its values equal, which includes d = 1).
// Inputs: one row of n float64 cells of x and of y per step; output: n cells.
// NaN / warm-up: NaN until d rows are seen and wherever either window holds a
//   NaN; infinities are values (inf - inf is NaN).
// Arithmetic: one pass oldest to newest in float64 over the values shifted by
//   the window's oldest value (see centered_pair_sums), then
//   Sxy / sqrt(Sxx Syy); a constant window has sums of exactly 0. Recomputed
//   from the ring at every row. O(d) per cell.
// State: "count", "window" = d, "ring" (2, d, n).
// Runs without the GIL, touches no Python object.
#include <cmath>

#include "fast_paths/vector_clones.hpp"
#include "operators/time_series/kernels.hpp"
#include "operators/time_series/window_math.hpp"
#include "operators/time_series/windowed_operator.hpp"

namespace qm::ops {

namespace {

// out[j] = Sxy / sqrt(Sxx Syy), clamped to [-1, 1].
QM_VECTOR_CLONES
void correlations(const double* __restrict cross, const double* __restrict squares_x,
                  const double* __restrict squares_y, std::int64_t n, double* __restrict out) {
    for (std::int64_t j = 0; j < n; ++j) {
        // A constant side has zero squares: 0 / 0 is NaN.
        const double r = cross[j] / std::sqrt(squares_x[j] * squares_y[j]);
        // Rounding can step just past +-1; a NaN (from infinities) stays NaN.
        out[j] = r > 1.0 ? 1.0 : r < -1.0 ? -1.0 : r;
    }
}

struct Correlation {
    static constexpr std::size_t inputs = 2;
    static constexpr bool whole_window = true;

    PairSums sums;

    void operator()(const double* const* rows, std::int64_t d, std::int64_t n, double* __restrict out) {
        centered_pair_sums(rows, rows + d, d, n, sums);
        correlations(sums.cross.data(), sums.squares_u.data(), sums.squares_v.data(), n, out);
    }
};

}  // namespace

std::unique_ptr<RowOperator> make_ts_correlation(const std::vector<double>& params) {
    return make_windowed(Correlation{}, window_param(params));
}

}  // namespace qm::ops
