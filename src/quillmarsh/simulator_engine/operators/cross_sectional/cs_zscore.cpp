// cs_zscore(x): each cell's z-score within its row, (x - mean) / std over the
//   row's non-NaN cells, std the population standard deviation (divisor: the
//   number of non-NaN cells).
// Input: one row of n float64 cells; output: n cells.
// NaN: NaN cells stay NaN and are left out of mean and std; a row whose
//   non-NaN cells are all equal (std 0) gives 0.0 for each of them. Infinities
//   are values (an infinite mean gives NaN).
// Arithmetic: two passes (mean, then squared deviations) in column order in
//   long double, each cell rounded to float64 once. O(n) per row. Stateless.
// Runs without the GIL, touches no Python object.
#include <cmath>
#include <limits>

#include "operators/cross_sectional/kernels.hpp"

namespace qm::ops {

namespace {

using Accum = long double;

class CrossSectionalZScore final : public RowOperator {
public:
    void step(const double* const* inputs, double* out, std::int64_t n) override {
        const double* x = inputs[0];
        Accum sum = 0.0L;
        std::int64_t present = 0;
        for (std::int64_t j = 0; j < n; ++j) {
            if (std::isnan(x[j])) continue;
            sum += x[j];
            ++present;
        }
        const Accum mean = present > 0 ? sum / static_cast<Accum>(present) : 0.0L;
        Accum squares = 0.0L;
        for (std::int64_t j = 0; j < n; ++j) {
            if (std::isnan(x[j])) continue;
            const Accum dev = x[j] - mean;
            squares += dev * dev;
        }
        const Accum std = present > 0 ? std::sqrt(squares / static_cast<Accum>(present)) : 0.0L;
        for (std::int64_t j = 0; j < n; ++j) {
            if (std::isnan(x[j])) {
                out[j] = x[j];
            } else {
                out[j] = std == 0.0L ? 0.0 : static_cast<double>((x[j] - mean) / std);
            }
        }
    }
};

}  // namespace

std::unique_ptr<RowOperator> make_cs_zscore(const Params& params) {
    return std::make_unique<CrossSectionalZScore>();
}

}  // namespace qm::ops
