// The size of a graph as the engine's walks see it: they name nodes by their
// place ("root.c0.c1"), so a node object used at several places is walked once
// per place. Reusing one object at every level of a deep graph makes that
// size grow exponentially with the depth; such a graph is refused up front
// with a clear error instead of being walked for ever.
#pragma once

#include <cstdint>

#include <nanobind/nanobind.h>

namespace nb = nanobind;

namespace qm {

constexpr std::uint64_t kMaxExpandedGraphNodes = 10'000'000;

// SchemaError when the graph counts more than kMaxExpandedGraphNodes nodes
// with each place counted. Children are read leniently: whatever the engine's
// own walks refuse (unreadable children, a cycle) is left for them to report.
// Costs one visit per distinct node object.
void check_expanded_graph_size(nb::handle graph);

}  // namespace qm
