// Node identities ("root", "root.c0", ...), state identities stamped on
// function nodes, and invalidation of the per-graph cache slots.
#pragma once

#include <string>

#include <nanobind/nanobind.h>

namespace nb = nanobind;

namespace qm {

// Ordered map identity -> node value for the whole tree, memoised on the root.
nb::object generate_node_identities(nb::handle graph);

// Stamps `_state_identity` = identity on every rotation/reduction node below `node`.
void annotate_state_identities(nb::handle node, const std::string& path);

// Clears `_collect_nodes_cache` and `_node_identities` on every node; ignores non-nodes.
void invalidate_graph_evaluation_caches(nb::handle graph);

// True for the function node kinds "rotation" and "reduction".
bool is_function_node_type(nb::handle type_value);

// True for the feature leaf kinds "feature" and "aggregation".
bool is_feature_leaf_type(nb::handle type_value);

}  // namespace qm
