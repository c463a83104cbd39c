// The PnL history of a PnL-weighted reduction: each signal's PnL over the last
// `window` rows, oldest first, and the signals' weights drawn from it.
//
// Rows of A values are appended to one contiguous buffer; once the window is
// full the oldest row is dropped by moving the start forward, and the dead
// prefix is cut off when it reaches a window's worth of rows. So the kept rows
// are always one C-contiguous (kept, A) matrix, oldest first, as NumPy holds
// them, at O(A) amortised cost per row, and memory grows with the rows kept,
// not with the window.
//
// Pure C++: touches no Python object.
#pragma once

#include <cstdint>
#include <vector>

namespace qm::ops {

class PnlHistory {
public:
    explicit PnlHistory(std::int64_t window) : window_(window) {}

    std::int64_t window() const { return window_; }
    std::int64_t count() const { return count_; }      // rows recorded since the history last started
    std::int64_t signals() const { return signals_; }  // A, the width of every kept row
    std::int64_t kept() const { return kept_; }        // rows held, at most window
    const double* rows() const { return buffer_.data() + start_ * signals_; }

    // Appends one row of `signals` PnL values, a NaN recorded as 0.0. A row of
    // another width starts the history afresh (count back to 1).
    void record(const double* pnl, std::int64_t signals);

    // numpy.maximum(history.mean(axis=0), 0.0): each signal's mean PnL over the
    // kept rows, negative means replaced by 0.0, NaN kept.
    void positive_mean(double* weights) const;

    // Replaces the history by `kept` rows of `signals` values (oldest first) and the row count.
    void restore(const double* rows, std::int64_t kept, std::int64_t signals, std::int64_t count);

private:
    std::int64_t window_;
    std::int64_t count_ = 0;
    std::int64_t signals_ = 0;
    std::int64_t kept_ = 0;
    std::int64_t start_ = 0;      // buffer row of the oldest kept row; rows before it have left the window
    std::vector<double> buffer_;  // (start_ + kept_, signals_) row-major
};

}  // namespace qm::ops
