// Pieces shared by the whole-matrix fast paths.
#pragma once

#include <nanobind/nanobind.h>

namespace nb = nanobind;

namespace qm {

// Stores in context.registers a (1, N_alloc) float64 matrix holding the last row
// of `result`, or zeros when `result` has no rows. EvaluationShapeError when
// `result` (a C-contiguous float64 array) is not two-dimensional.
void store_last_row_register(nb::handle context, nb::handle result);

// True when the context's useful_signals, transform_pipeline and
// metaparameters are each absent or empty, tested in that order.
bool context_has_no_signals_or_transforms(nb::handle context);

}  // namespace qm
