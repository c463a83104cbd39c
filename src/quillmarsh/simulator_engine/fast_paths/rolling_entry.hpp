// Python face of the rolling longitudinal kernel: argument checks, conversion
// to C-contiguous float64, allocation of the result, and the GIL-free call.
#pragma once

#include <nanobind/nanobind.h>

namespace nb = nanobind;

namespace qm {

// A new (T, N) float64 C-contiguous matrix: the rolling statistic selected by
// `name` (mean, population standard deviation, anything else: z-score) over
// the trailing `window` rows. `data` is never modified. ValueError for a window
// below 1 or data that is not two-dimensional.
nb::object rolling_longitudinal_fast(nb::handle data, nb::handle window, nb::handle name);

}  // namespace qm
