// Checks of function-node configurations against the registry's parameter
// schemas: the explicit-configuration preflight run before any fast path, and
// the validation of each node's effective configuration during collection.
// `registry` is the context's registry; None means there is none.
#pragma once

#include <string>

#include <nanobind/nanobind.h>

#include "graph/param_schema.hpp"  // config_param_names, param_schema_names

namespace nb = nanobind;

namespace qm {

// Walks the graph from `node` (named `path`) and rejects engine-only and (for
// "virtualization" functions) unknown parameters in explicit configurations.
void preflight_explicit_graph_config(nb::handle registry, nb::handle node, const std::string& path);

// Validates a function node's effective configuration (explicit config plus
// configuration literals): engine-only, missing required and unknown parameters.
void validate_graph_function_config(nb::handle registry, nb::handle function_name, nb::handle config,
                                    const std::string& path);

}  // namespace qm
