// Pieces shared by the whole-matrix fast paths.
#pragma once

#include <nanobind/nanobind.h>

namespace nb = nanobind;

namespace qm {

// Stores in context.registers a (1, N_alloc) float64 matrix holding the last row
// of `result`, or zeros when `result` has no rows.
void store_last_row_register(nb::handle context, nb::handle result);

}  // namespace qm
