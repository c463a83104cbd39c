// The state of one general (row-by-row) evaluation: its inputs, the node
// tables built from the graph, and the matrices the per-row loop writes.
// Every step of the evaluation reads and fills this one object.
#pragma once

#include <cstdint>

#include <nanobind/nanobind.h>

#include "evaluator/entry.hpp"
#include "filtration/resolve_filt.hpp"
#include "graph/collect_nodes.hpp"
#include "host/pyutil.hpp"
#include "provenance/data_nan.hpp"

namespace nb = nanobind;

namespace qm {

struct GeneralEvaluation {
    GeneralEvaluation(nb::handle graph_, nb::handle context_, const EvaluationOptions& options_, std::int64_t T_,
                      std::int64_t N_)
        : graph(nb::borrow(graph_)), context(nb::borrow(context_)), options(options_), T(T_), N(N_) {}

    // Inputs.
    nb::object graph, context;
    EvaluationOptions options;
    std::int64_t T, N;

    // Node tables and the per-evaluation maps around them.
    NodeTables tables;
    nb::object precomputed_node_outputs;     // canonical id -> row
    nb::object precomputed_node_nan_source;  // canonical id -> tag
    nb::dict reg_map;                        // identity -> register index, in collection order
    std::int64_t next_reg = 0;               // number of registers
    FiltrationTables filtration;
    DataNanProvenance provenance;

    // Matrices written by the loop.
    nb::object output_weights;           // (T, N) float64
    nb::object local_registers;          // (next_reg, N) float64: each node's current row
    nb::object local_extraction_buffer;  // None, or (A, N) float64 weight rows of the current signals
    nb::object node_outputs;             // None, or identity -> (T, N) float64

    nb::object total_root_warmup_rows;  // Python int: the graph's warm-up, any size
    std::int64_t root_warmup_rows = 0;  // leading output rows blanked after the loop, at most T
};

// Instances report themselves stateful through a true `stateful` attribute.
inline bool is_stateful(nb::handle instance) { return truthy(getattr_or_none(instance, "stateful")); }

// state_keys.get(path, path)
inline nb::object state_key_of(const NodeTables& tables, nb::handle path) {
    return tables.state_keys.contains(path) ? nb::object(tables.state_keys[path]) : nb::borrow(path);
}

}  // namespace qm
