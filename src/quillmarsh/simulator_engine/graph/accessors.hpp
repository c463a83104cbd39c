// The only way the engine reads graph nodes: typed checks, required fields,
// children and configuration, and the per-graph cache slots.
#pragma once

#include <string>

#include <nanobind/nanobind.h>

namespace nb = nanobind;

namespace qm {

// Returns `node` when it is a FunctionGraphNode; SchemaError naming `path` otherwise.
nb::handle require_graph_node_instance(nb::handle node, const std::string& path);

// True when field `key` of the node can be read (type checked as "field-check").
bool graph_has_field(nb::handle node, const char* key);

// The field's value (possibly None); EvaluationError when it cannot be read.
nb::object require_graph_field(nb::handle node, const char* key, const std::string& path);
nb::object require_graph_type_value(nb::handle node, const std::string& path);
nb::object require_graph_node_value(nb::handle node, const std::string& path);

// The node's children sequence when non-empty, otherwise a new empty list.
nb::object graph_children(nb::handle node);

// A shallow copy of the node's config, or a new empty dict; a config that is
// not a map is a SchemaError naming the node's `path`.
nb::dict graph_config_dict(nb::handle node, const std::string& path = "config");

// Cache slots: read (None when missing) and write (dropped when refused).
nb::object graph_cache_get(nb::handle graph, const char* key);
void graph_cache_set(nb::handle graph, const char* key, nb::handle value);

// Identity of the child at `index` under the node named `path`: "{path}.c{index}".
std::string child_path(const std::string& path, size_t index);

}  // namespace qm
