// Module surface of the fast paths and the masking rule.
#include <nanobind/nanobind.h>

#include "fast_paths/leaf.hpp"
#include "fast_paths/rank_entry.hpp"
#include "fast_paths/rolling_entry.hpp"
#include "fast_paths/universe_mask.hpp"

namespace nb = nanobind;
using namespace nb::literals;

namespace qm {

void export_fast_paths(nb::module_& m) {
    m.def("_apply_universe_mask", &apply_universe_mask, "data"_a.none(), "universe"_a.none());
    m.def("_can_use_leaf_fast_path", &can_use_leaf_fast_path, "graph"_a, "context"_a, "function_states"_a.none(),
          nb::kw_only(), "data_nan_features"_a.none() = nb::none());
    m.def("_evaluate_leaf_fast", &evaluate_leaf_fast, "graph"_a, "context"_a);
    m.def("_feature_matrix_for_fast_path", &feature_matrix_for_fast_path, "node"_a, "context"_a);
    m.def("_batch_rank", &batch_rank, "data"_a.none(), "universe"_a.none() = nb::none());
    m.def("_rolling_longitudinal_fast", &rolling_longitudinal_fast, "data"_a.none(), "window"_a.none(), "name"_a.none());
}

}  // namespace qm
