#include "operators/time_series/row_history.hpp"

#include "operators/time_series/column_blocks.hpp"

#include <algorithm>
#include <cstddef>
#include <limits>
#include <new>
#include <stdexcept>
#include <string>

namespace qm::ops {

namespace {

// The row goes into an empty slot; its NaN cells join the counts.
QM_VECTOR_CLONES
void enter(const double* __restrict row, double* __restrict dest, double* __restrict missing, std::int64_t n) {
    for (std::int64_t j = 0; j < n; ++j) {
        missing[j] += static_cast<double>(row[j] != row[j]);
        dest[j] = row[j];
    }
}

// The row replaces the slot's departing row in the ring and in the NaN counts
// (whole numbers, exact in any order).
QM_VECTOR_CLONES
void enter_replacing(const double* __restrict row, double* __restrict dest, double* __restrict missing,
                     std::int64_t n) {
    for (std::int64_t j = 0; j < n; ++j) {
        missing[j] += static_cast<double>(row[j] != row[j]) - static_cast<double>(dest[j] != dest[j]);
        dest[j] = row[j];
    }
}

}  // namespace

void check_restored_count(std::int64_t count) {
    if (count < 0 || count > kWindowLimit) {
        throw std::invalid_argument("saved state has a count outside 0 .. 2^62, got " + std::to_string(count));
    }
}

RowHistory::RowHistory(std::int64_t rows, std::size_t inputs) : rows_(rows), inputs_(inputs) {}

void RowHistory::fix_width(std::int64_t n) {
    if (n < 0) throw std::invalid_argument("row width must not be negative, got " + std::to_string(n));
    width_ = n;
    slots_ = 0;
    ring_.clear();
    missing_.assign(static_cast<std::size_t>(n), 0.0);
}

// Until the ring is full, row r sits in slot r, so resizing keeps each input's
// first min(slots_, slots) rows in place.
void RowHistory::resize_ring(std::int64_t slots) {
    const auto cells = static_cast<std::size_t>(width_);
    const std::size_t max_cells = std::numeric_limits<std::ptrdiff_t>::max() / sizeof(double);
    if (cells != 0 && static_cast<std::size_t>(slots) > max_cells / cells / inputs_) throw std::bad_alloc();
    std::vector<double> ring(inputs_ * static_cast<std::size_t>(slots) * cells,
                             std::numeric_limits<double>::quiet_NaN());
    const std::size_t kept = static_cast<std::size_t>(std::min(slots_, slots)) * cells;
    for (std::size_t i = 0; i < inputs_; ++i) {
        const double* from = ring_.data() + i * static_cast<std::size_t>(slots_) * cells;
        std::copy(from, from + kept, ring.data() + i * static_cast<std::size_t>(slots) * cells);
    }
    ring_.swap(ring);
    slots_ = slots;
}

void RowHistory::count_missing() {
    std::fill(missing_.begin(), missing_.end(), 0.0);
    for (std::int64_t r = std::max<std::int64_t>(count_ - rows_, 0); r < count_; ++r) {
        for (std::size_t i = 0; i < inputs_; ++i) {
            const double* row = ring_.data() + (static_cast<std::int64_t>(i) * slots_ + r % rows_) * width_;
            for (std::int64_t j = 0; j < width_; ++j) missing_[j] += row[j] != row[j] ? 1.0 : 0.0;
        }
    }
    missing_stale_ = false;
}

void RowHistory::push(const double* const* inputs, std::int64_t n) {
    if (width_ < 0) fix_width(n);
    if (n != width_) {
        throw std::invalid_argument("expected a row of " + std::to_string(width_) + " cells, got " +
                                    std::to_string(n));
    }
    if (missing_stale_) count_missing();
    // Room doubles, so a long warm-up copies each row a bounded number of times.
    if (!full() && count_ >= slots_) resize_ring(slots_ > rows_ / 2 ? rows_ : std::max<std::int64_t>(2 * slots_, 1));
    const std::int64_t slot = count_ % rows_;
    for (std::size_t i = 0; i < inputs_; ++i) {
        double* dest = ring_.data() + (static_cast<std::int64_t>(i) * slots_ + slot) * width_;
        // Until the ring is full its slots hold no row yet: nothing departs.
        if (full()) {
            enter_replacing(inputs[i], dest, missing_.data(), n);
        } else {
            enter(inputs[i], dest, missing_.data(), n);
        }
    }
    ++count_;
}

void RowHistory::window_rows(const double** rows) const {
    // Once full, the ring has every slot and the oldest row sits in the slot
    // the next row will overwrite.
    const std::int64_t oldest = count_ % rows_;
    for (std::size_t i = 0; i < inputs_; ++i) {
        const double* base = ring_.data() + static_cast<std::int64_t>(i) * rows_ * width_;
        for (std::int64_t k = 0; k < rows_; ++k) {
            *rows++ = base + ((oldest + k) % rows_) * width_;
        }
    }
}

void RowHistory::restore(std::int64_t n, std::int64_t count) {
    check_restored_count(count);
    fix_width(n);
    resize_ring(std::min(rows_, count));
    count_ = count;
    missing_stale_ = true;
}

std::vector<StateField> RowHistory::fields() {
    if (width_ < 0) return {};
    // The saved ring holds exactly the rows kept, not the room grown for more.
    const std::int64_t kept = std::min(rows_, count_);
    if (slots_ != kept) resize_ring(kept);
    return {StateField{"ring", StateDType::Float64,
                       {static_cast<std::int64_t>(inputs_), kept, width_}, ring_.data()}};
}

}  // namespace qm::ops
