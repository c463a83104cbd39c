#include "operators/reductions/pnl_weighted.hpp"

#include <stdexcept>

#include "evaluator/column_mean.hpp"
#include "host/messages.hpp"
#include "operators/cross_sectional/numpy_sum.hpp"
#include "operators/reductions/numpy_matmul.hpp"

namespace qm::ops {

void PnlWeightedReduction::step(const double* rows, std::int64_t signals, std::int64_t n, const double* pnl,
                                std::int64_t pnl_count, double* out) {
    if (pnl_count != signals) throw std::invalid_argument(msg::reduction_pnl_count(pnl_count, signals));
    history_.record(pnl, signals);
    weights_.resize(static_cast<std::size_t>(signals));
    history_.positive_mean(weights_.data());
    const double total = numpy_sum(weights_.data(), weights_.size());
    if (!(total > 0.0)) {
        column_mean(rows, signals, n, out);
        return;
    }
    positive_weighted_sum(weights_.data(), rows, signals, n, out);
    for (std::int64_t j = 0; j < n; ++j) out[j] /= total;
}

}  // namespace qm::ops
