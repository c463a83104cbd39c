// NumPy arrays as the engine sees them: owned references plus raw typed access.
// Conversions copy only when the input is not already in the requested form.
#pragma once

#include <cstdint>
#include <vector>

#include <nanobind/nanobind.h>

namespace nb = nanobind;

namespace qm {

// An ndarray of dtype float64 (any layout); converted only when needed.
nb::object as_float64(nb::handle obj);

// A C-contiguous, aligned float64 ndarray; the same object when it already is one.
nb::object as_float64_contiguous(nb::handle obj);

// New float64 C-contiguous arrays.
nb::object empty_float64(const std::vector<std::int64_t>& dims);
nb::object zeros_float64(const std::vector<std::int64_t>& dims);
nb::object full_float64(const std::vector<std::int64_t>& dims, double value);

// New C-contiguous uint8 array.
nb::object empty_uint8(const std::vector<std::int64_t>& dims);

bool is_ndarray(nb::handle obj);
int ndim_of(nb::handle arr);
std::int64_t dim_of(nb::handle arr, int axis);
std::vector<std::int64_t> dims_of(nb::handle arr);
double* float64_data(nb::handle arr);
std::uint8_t* uint8_data(nb::handle arr);
bool is_float64(nb::handle arr);

}  // namespace qm
