// Row-by-row reads of caller matrices (features, universe, signal weights and
// PnL). A 2-D ndarray of the expected width is converted to contiguous float64
// once and read through a pointer; anything else is read through Python
// indexing at each row, so it fails, converts or broadcasts as NumPy does.
#pragma once

#include <cstdint>

#include <nanobind/nanobind.h>

namespace nb = nanobind;

namespace qm {

struct RowSource {
    nb::object original;       // the caller's object
    nb::object matrix;         // contiguous float64 form of `original`, or null
    const double* data = nullptr;
    std::int64_t rows = 0, cols = 0;

    // Row t as raw values, or nullptr when it must be read through Python.
    const double* row(std::int64_t t) const { return data != nullptr && t < rows ? data + t * cols : nullptr; }
};

// `cols` is the required width, or -1 for any width.
RowSource row_source(nb::handle original, std::int64_t cols);

// target[target_row] = source[t], where `dest` is the memory of that target row (n values).
void copy_row(const RowSource& source, std::int64_t t, nb::handle target, std::int64_t target_row, double* dest,
              std::int64_t n);

// Asks the cache for row t of a raw source ahead of its read (nothing for
// rows read through Python): the per-row loop reads each source row once, long
// after the previous one, so the hardware has no stream to follow.
void prefetch_row(const RowSource& source, std::int64_t t);

// float(source[t, col])
double read_cell(const RowSource& source, std::int64_t t, std::int64_t col);

}  // namespace qm
