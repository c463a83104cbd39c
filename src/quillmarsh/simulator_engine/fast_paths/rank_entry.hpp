// Python face of the batch rank kernel: argument checks, conversion to
// C-contiguous float64, allocation of the result, and the GIL-free call.
#pragma once

#include <nanobind/nanobind.h>

namespace nb = nanobind;

namespace qm {

// A new (T, N) float64 C-contiguous matrix of per-row percentile ranks of
// `data` masked by `universe` (None: no masking). Neither input is modified.
// ValueError for data that is not two-dimensional or a universe of another shape.
nb::object batch_rank(nb::handle data, nb::handle universe);

}  // namespace qm
