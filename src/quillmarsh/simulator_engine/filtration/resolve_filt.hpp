// Resolution of filtration nodes against the context's useful signals: once
// per evaluation and node, through the filtration engine, with its failures
// mapped to the engine's errors.
#pragma once

#include <nanobind/nanobind.h>

namespace nb = nanobind;

namespace qm {

struct FiltrationTables {
    nb::dict cache;            // identity -> FiltrationResult, filled on first resolution
    nb::object nodes;          // identity -> graph-form filter tree (the evaluation's filtration_nodes)
    nb::object context;        // provides registry and useful_signals
};

// The FiltrationResult of the filtration node at `path`, or None when `path`
// is not a filtration node. A failed resolution caches nothing.
nb::object resolve_filt(FiltrationTables& tables, nb::handle path);

}  // namespace qm
