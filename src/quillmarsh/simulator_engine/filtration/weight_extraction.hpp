// Weight rows of the signals that pass a filtration, gathered at one row.
#pragma once

#include <cstdint>

#include <nanobind/nanobind.h>

namespace nb = nanobind;

namespace qm {

// A new (len(passing_ids), N_alloc) float64 matrix whose row i is row `t` of the
// weights of useful_signals[passing_ids[i]]; rows ordered by passing_ids.
// IndexError for t outside [0, T), TypeError for an id that is neither str nor
// None, KeyError(id) for an id missing from useful_signals; all ids are
// checked before anything is copied.
nb::object extract_filtration_weights(nb::handle useful_signals, nb::handle passing_ids, std::int32_t t);

}  // namespace qm
