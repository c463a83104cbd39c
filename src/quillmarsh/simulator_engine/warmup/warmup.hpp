// Warm-up accounting: the leading output rows of a graph that stay NaN, and the
// rows a restored stateful instance has already consumed. Both are exact Python
// ints: a window or count beyond 64 bits keeps its meaning (any value of at
// least T blanks every row, or marks the instance as warm).
#pragma once

#include <string>

#include <nanobind/nanobind.h>

namespace nb = nanobind;

namespace qm {

// Number of warm-up rows of the graph rooted at `graph_node` (named `path`); 0 without a registry.
nb::object compute_graph_warmup_rows(nb::handle graph_node, nb::handle registry, const std::string& path = "root");

// int() of a saved state payload's "count" (2.5 reads as 2); 0 when the payload
// is absent, empty, not a map, or its count is missing or not a number.
nb::object saved_count(nb::handle payload);

// The saved_count of the instance's get_state() payload.
nb::object get_warmup_count_for_instance(nb::handle instance);

}  // namespace qm
