// Warm-up accounting: the leading output rows of a graph that stay NaN, and the
// rows a restored stateful instance has already consumed.
#pragma once

#include <string>

#include <nanobind/nanobind.h>

namespace nb = nanobind;

namespace qm {

// Number of warm-up rows of the graph rooted at `graph_node` (named `path`); 0 without a registry.
long long compute_graph_warmup_rows(nb::handle graph_node, nb::handle registry, const std::string& path = "root");

// The "count" of the instance's get_state() payload, or 0 when it says nothing usable.
long long get_warmup_count_for_instance(nb::handle instance);

}  // namespace qm
