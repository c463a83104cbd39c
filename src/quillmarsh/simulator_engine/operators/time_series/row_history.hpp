// The history every windowed time-series operator keeps: the last `rows` rows
// of each data input in a ring, the number of rows consumed, and per column
// the NaN cells among the rows the ring holds. The ring grows with the rows
// seen, up to `rows`, so a window longer than the run costs only the rows the
// run has. Pure C++.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "operators/row_operator.hpp"

namespace qm::ops {

// A restored row count must leave room to keep counting: 0 <= count <= kWindowLimit
// (throws std::invalid_argument otherwise).
void check_restored_count(std::int64_t count);

class RowHistory {
public:
    RowHistory(std::int64_t rows, std::size_t inputs);

    // Copies one row of each input into the ring. The first row fixes the
    // width; a row of another width throws std::invalid_argument.
    void push(const double* const* inputs, std::int64_t n);

    // Points rows[i * rows() + k] at row k (0 = oldest) of input i's window,
    // each width() cells. Meaningful once full().
    void window_rows(const double** rows) const;

    // missing()[j]: NaN cells of column j among the held rows of every input,
    // a whole number kept as a double so callers compare columns side by side.
    const double* missing() const { return missing_.data(); }

    bool full() const { return count_ >= rows_; }
    std::int64_t rows() const { return rows_; }
    std::int64_t count() const { return count_; }
    std::int64_t width() const { return width_; }

    // Allocates a NaN ring of min(rows, count) rows of n cells and sets the
    // row count; the caller then fills the ring through fields(). The NaN
    // counts are rebuilt from the filled ring by the next push.
    void restore(std::int64_t n, std::int64_t count);

    // "ring": (inputs, min(rows, count), n) float64, row r of the run in slot
    // r % rows.
    std::vector<StateField> fields();

private:
    void fix_width(std::int64_t n);
    void resize_ring(std::int64_t slots);
    void count_missing();

    std::int64_t rows_;            // rows of history kept per input
    std::size_t inputs_;           // data inputs
    std::int64_t count_ = 0;       // rows consumed over the whole run
    std::int64_t width_ = -1;      // row width, -1 until the first row or a restore
    std::int64_t slots_ = 0;       // rows the ring has room for: count_ <= slots_ <= rows_ until full
    std::vector<double> ring_;     // inputs x slots x width, row-major
    std::vector<double> missing_;  // per column: NaN cells among the held rows
    bool missing_stale_ = false;   // set by restore until the ring is recounted
};

}  // namespace qm::ops
