// Python face of the one-row rolling step: checks of the caller's state arrays,
// conversion of the row, allocation of the result, and the GIL-free call.
#pragma once

#include <nanobind/nanobind.h>

namespace nb = nanobind;

namespace qm {

// Feeds `row` (N values, converted to float64) as row number `count` to the
// rolling statistic named `name`, updating the state arrays in place, and
// returns the new (N,) float64 row of statistics. State: `ring` float64
// (window, N), `nan_in_window` int64 (N,), and the four long-double (N,) sums
// `prefix_sum`, `prefix_sum_sq`, `lagging_sum`, `lagging_sum_sq`; every one an
// ndarray that is C-contiguous, aligned, writeable and in native byte order.
// TypeError for a state that is not an ndarray or has another dtype, or a count
// that is not an integer; ValueError for an unknown name, a negative count, a
// layout or shape that does not fit.
nb::object rolling_step_entry(nb::handle ring, nb::handle nan_in_window, nb::handle prefix_sum,
                              nb::handle prefix_sum_sq, nb::handle lagging_sum, nb::handle lagging_sum_sq,
                              nb::handle row, nb::handle count, nb::handle name);

}  // namespace qm
