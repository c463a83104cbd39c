// Module surface of the fast paths and the masking rule.
#include <nanobind/nanobind.h>
#include <nanobind/stl/string.h>

#include "fast_paths/leaf.hpp"
#include "fast_paths/longitudinal_path.hpp"
#include "fast_paths/rank_paths.hpp"
#include "fast_paths/rank_entry.hpp"
#include "fast_paths/rolling_entry.hpp"
#include "fast_paths/rolling_step_entry.hpp"
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
    m.def("_can_use_simple_rank_fast_path", &can_use_simple_rank_fast_path, "graph"_a, "context"_a,
          "function_states"_a.none(), nb::kw_only(), "data_nan_features"_a.none() = nb::none());
    m.def("_evaluate_simple_rank_fast", &evaluate_simple_rank_fast, "graph"_a, "context"_a);
    m.def("_can_use_rank_multiply_fast_path", &can_use_rank_multiply_fast_path, "graph"_a, "context"_a,
          "function_states"_a.none(), nb::kw_only(), "bound_function_instances"_a.none() = nb::none(),
          "data_nan_features"_a.none() = nb::none());
    m.def("_evaluate_rank_multiply_fast", &evaluate_rank_multiply_fast, "graph"_a, "context"_a);

    m.attr("_LONGITUDINAL_FAST_MIN_ROWS") = kLongitudinalFastMinRows;
    m.attr("_LONGITUDINAL_FAST_NAMES") = longitudinal_fast_names();
    m.def("_can_use_longitudinal_fast_path", &can_use_longitudinal_fast_path, "graph"_a, "context"_a,
          "function_states"_a.none(), "T"_a, nb::kw_only(), "data_nan_features"_a.none() = nb::none());
    m.def("_registry_allows_stub_fast_path", &registry_allows_stub_fast_path, "registry"_a.none(), "name"_a.none());
    m.def("_longitudinal_window", &longitudinal_window, "registry"_a.none(), "node"_a, "path"_a = "root");
    m.def("_evaluate_longitudinal_fast", &evaluate_longitudinal_fast, "graph"_a, "context"_a);
    m.def("_evaluate_longitudinal_fast_node", &evaluate_longitudinal_fast_node, "node"_a, "context"_a);

    m.def("_batch_rank", &batch_rank, "data"_a.none(), "universe"_a.none() = nb::none());
    m.def("_rolling_longitudinal_fast", &rolling_longitudinal_fast, "data"_a.none(), "window"_a.none(), "name"_a.none());
    m.def("_rolling_step", &rolling_step_entry, "ring"_a.none(), "nan_in_window"_a.none(), "prefix_sum"_a.none(),
          "prefix_sum_sq"_a.none(), "lagging_sum"_a.none(), "lagging_sum_sq"_a.none(), "row"_a.none(), "count"_a.none(),
          "name"_a.none());
}

}  // namespace qm
