#include "operators/reductions/pnl_history.hpp"

#include <algorithm>
#include <cmath>

#include "evaluator/column_mean.hpp"

namespace qm::ops {

void PnlHistory::record(const double* pnl, std::int64_t signals) {
    if (signals != signals_) restore(nullptr, 0, signals, 0);
    if (kept_ == window_) {
        ++start_;
        --kept_;
    }
    if (start_ >= window_) {
        buffer_.erase(buffer_.begin(), buffer_.begin() + start_ * signals_);
        start_ = 0;
    }
    for (std::int64_t k = 0; k < signals; ++k) buffer_.push_back(std::isnan(pnl[k]) ? 0.0 : pnl[k]);
    ++kept_;
    ++count_;
}

void PnlHistory::positive_mean(double* weights) const {
    column_mean(rows(), kept_, signals_, weights);
    for (std::int64_t k = 0; k < signals_; ++k) {
        if (weights[k] < 0.0) weights[k] = 0.0;
    }
}

void PnlHistory::restore(const double* rows, std::int64_t kept, std::int64_t signals, std::int64_t count) {
    buffer_.assign(rows, rows + kept * signals);
    signals_ = signals;
    kept_ = kept;
    start_ = 0;
    count_ = count;
}

}  // namespace qm::ops
