// Leaf fast path: a graph that is a single loaded feature is answered by
// masking the whole feature matrix at once.
#pragma once

#include <nanobind/nanobind.h>

namespace nb = nanobind;

namespace qm {

bool can_use_leaf_fast_path(nb::handle graph, nb::handle context, nb::handle function_states,
                            nb::handle data_nan_features);

nb::object evaluate_leaf_fast(nb::handle graph, nb::handle context);

// The masked, C-contiguous float64 matrix of a feature leaf.
nb::object feature_matrix_for_fast_path(nb::handle node, nb::handle context);

}  // namespace qm
