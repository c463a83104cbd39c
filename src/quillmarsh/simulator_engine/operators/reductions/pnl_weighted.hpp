// PnL-weighted reduction: the signals' current weight rows (A, N) reduced to
// one row (N,), each signal weighted by the positive part of its mean PnL
// over the last `window` rows.
//
// Inputs: `rows`, a C-contiguous (A, n) float64 matrix; `pnl`, A float64
// values (a NaN PnL is recorded as 0.0). Output: n float64 cells.
// The history records the row first; then, with w the positive mean PnL per
// signal and total = sum(w): when total > 0, the rows of the signals with
// w > 0 weighted by w and divided by total; otherwise (no positive weight, or
// a NaN mean) the plain column mean, NaN propagating, all NaN when A is 0.
// A change in A starts the history afresh.
//
// Exactness: the same bits as the NumPy expression `weights[used] @
// rows[used] / weights.sum()` over `np.maximum(history.mean(axis=0), 0.0)`:
// the means and the column mean add rows in order (column_mean.hpp), the
// total is NumPy's pairwise sum (numpy_sum.hpp) and the weighted sum is
// NumPy's own matrix product (numpy_matmul.hpp), which needs the GIL.
// Cost: O(window * A) for the means plus O(A * n) for the rows.
#pragma once

#include <cstdint>
#include <vector>

#include "operators/reductions/pnl_history.hpp"

namespace qm::ops {

class PnlWeightedReduction {
public:
    explicit PnlWeightedReduction(std::int64_t window) : history_(window) {}

    PnlHistory& history() { return history_; }
    const PnlHistory& history() const { return history_; }

    // One reduced row from `signals` rows of n cells and `pnl_count` PnL
    // values. Throws std::invalid_argument, before recording anything, when
    // the PnL count is not the signal count.
    void step(const double* rows, std::int64_t signals, std::int64_t n, const double* pnl, std::int64_t pnl_count,
              double* out);

private:
    PnlHistory history_;
    std::vector<double> weights_;  // scratch: one weight per signal
};

}  // namespace qm::ops
