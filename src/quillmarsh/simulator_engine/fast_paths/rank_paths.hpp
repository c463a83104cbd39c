// Rank fast paths: a cross-sectional rank of one feature, and the product of
// two ranked features, answered with one batch rank call per ranked feature
// instead of the per-row loop.
#pragma once

#include <nanobind/nanobind.h>

namespace nb = nanobind;

namespace qm {

bool can_use_simple_rank_fast_path(nb::handle graph, nb::handle context, nb::handle function_states,
                                   nb::handle data_nan_features);

// The (T, N_alloc) ranks of the rank's feature from the host's batch rank
// kernel, or None when that kernel gives no result.
nb::object evaluate_simple_rank_fast(nb::handle graph, nb::handle context);

bool can_use_rank_multiply_fast_path(nb::handle graph, nb::handle context, nb::handle function_states,
                                     nb::handle bound_function_instances, nb::handle data_nan_features);

// The cell-by-cell product of the two ranks, or None when either operand gives
// none. Stores the last row in context.registers.
nb::object evaluate_rank_multiply_fast(nb::handle graph, nb::handle context);

}  // namespace qm
