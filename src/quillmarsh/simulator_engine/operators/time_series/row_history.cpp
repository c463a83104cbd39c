#include "operators/time_series/row_history.hpp"

#include <algorithm>
#include <limits>
#include <stdexcept>
#include <string>

namespace qm::ops {

RowHistory::RowHistory(std::int64_t rows, std::size_t inputs) : rows_(rows), inputs_(inputs) {}

void RowHistory::fix_width(std::int64_t n) {
    if (n < 0) throw std::invalid_argument("row width must not be negative, got " + std::to_string(n));
    width_ = n;
    ring_.assign(inputs_ * static_cast<std::size_t>(rows_ * n), std::numeric_limits<double>::quiet_NaN());
}

void RowHistory::push(const double* const* inputs, std::int64_t n) {
    if (width_ < 0) fix_width(n);
    if (n != width_) {
        throw std::invalid_argument("expected a row of " + std::to_string(width_) + " cells, got " +
                                    std::to_string(n));
    }
    const std::int64_t slot = count_ % rows_;
    for (std::size_t i = 0; i < inputs_; ++i) {
        double* dest = ring_.data() + (static_cast<std::int64_t>(i) * rows_ + slot) * width_;
        std::copy(inputs[i], inputs[i] + n, dest);
    }
    ++count_;
}

void RowHistory::window_rows(const double** rows) const {
    // Once full, the oldest row sits in the slot the next row will overwrite.
    const std::int64_t oldest = count_ % rows_;
    for (std::size_t i = 0; i < inputs_; ++i) {
        const double* base = ring_.data() + static_cast<std::int64_t>(i) * rows_ * width_;
        for (std::int64_t k = 0; k < rows_; ++k) {
            *rows++ = base + ((oldest + k) % rows_) * width_;
        }
    }
}

void RowHistory::restore(std::int64_t n, std::int64_t count) {
    if (count < 0) throw std::invalid_argument("saved state has a negative count " + std::to_string(count));
    fix_width(n);
    count_ = count;
}

std::vector<StateField> RowHistory::fields() {
    if (width_ < 0) return {};
    return {StateField{"ring", StateDType::Float64,
                       {static_cast<std::int64_t>(inputs_), rows_, width_}, ring_.data()}};
}

}  // namespace qm::ops
