// Node collection: one depth-first walk that flattens a graph into the tables
// an evaluation works on (node records, feature positions, float literals,
// filter trees, state keys, instances, reduction inputs), and the evaluation
// order derived from them.
#pragma once

#include <string>

#include <nanobind/nanobind.h>

namespace nb = nanobind;

namespace qm {

// Tables keyed by node identity, shared by every step of one evaluation.
// Python dicts, so that the collect-nodes cache entry can hold them as they are.
struct NodeTables {
    nb::dict node_info;         // identity -> node record, in post-order
    nb::dict state_keys;        // function node -> state key
    nb::dict func_instances;    // function node -> instance
    nb::dict float_values;      // "float" leaf -> float
    nb::dict feature_refs;      // feature leaf -> position in context.features
    nb::dict filtration_nodes;  // "filtration" node -> its graph-form filter tree
    nb::dict reduction_nodes;   // reduction node -> {"filtration_path", "config"}
    nb::object bound_instances; // the caller's bound instances, or a new empty dict
    nb::set bound_paths;        // function nodes whose instance came from bound_instances
    nb::list topo_order;        // evaluation order, children before parents
};

// What collection reads from the evaluation.
struct CollectionInputs {
    nb::object registry;                  // context.registry, possibly None
    nb::object feature_index;             // context.feature_index
    nb::object function_states;           // None when absent
    nb::object bound_function_instances;  // None when absent
};

// Collects the subtree of `node` (named `path`) into `tables`, children first.
void collect_nodes(NodeTables& tables, const CollectionInputs& inputs, nb::handle node, const std::string& path);

// Appends the identities of the subtree at `path` to tables.topo_order, children first.
void topo_sort(NodeTables& tables, nb::handle path);

// True when the registry is present and has `function_name`.
bool registry_can_instantiate(nb::handle registry, nb::handle function_name);

// The bound instance of `path`: a null handle when `bound_instances` has no
// entry for it; FunctionExecutionError when the entry is None.
nb::object lookup_bound_instance(nb::handle bound_instances, nb::handle path, nb::handle function_name);

}  // namespace qm
