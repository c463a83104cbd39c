// ts_product(x, d): the product of each column's trailing d values.
// Input: one row of n float64 cells per step; output: n cells.
// NaN / warm-up: NaN until d rows are seen and wherever the window holds a NaN;
//   infinities are values (0 * inf is NaN).
// Arithmetic: float64 products oldest to newest, recomputed from the ring at
//   every row (never divided out), so streaming is exact. O(d) per cell.
// State: "count", "window" = d, "ring" (1, d, n).
// Runs without the GIL, touches no Python object.
#include "operators/time_series/kernels.hpp"
#include "operators/time_series/windowed_operator.hpp"

namespace qm::ops {

namespace {

struct Product {
    static constexpr std::size_t inputs = 1;
    static constexpr bool whole_window = true;

    void operator()(const double* const* rows, std::int64_t d, std::int64_t n, double* __restrict out) {
        std::copy(rows[0], rows[0] + n, out);
        for (std::int64_t k = 1; k < d; ++k) {
            const double* __restrict row = rows[k];
            for (std::int64_t j = 0; j < n; ++j) out[j] *= row[j];
        }
    }
};

}  // namespace

std::unique_ptr<RowOperator> make_ts_product(const std::vector<double>& params) {
    return make_windowed(Product{}, window_param(params));
}

}  // namespace qm::ops
