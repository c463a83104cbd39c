// NumPy arrays over register and buffer memory, made with the C API because
// the per-row loop creates them for every function call.
#pragma once

#include <cstdint>

#include <nanobind/nanobind.h>

namespace nb = nanobind;

namespace qm {

// A 1-D float64 view of `n` values at `data`, which lies inside the array `base`.
// New reference, or nullptr with the Python error set.
PyObject* new_row_view(PyObject* base, double* data, std::int64_t n);

// A new 1-D float64 array holding a copy of `n` values. New reference, or nullptr with the error set.
PyObject* new_row_copy(const double* data, std::int64_t n);

// A (rows, n) float64 view of the first rows of the C-contiguous matrix `base`.
nb::object leading_rows_view(nb::handle base, std::int64_t rows, std::int64_t n);

}  // namespace qm
