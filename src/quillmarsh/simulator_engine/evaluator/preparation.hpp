// The general evaluator's preparation, in the order it runs before the first row.
#pragma once

#include "evaluator/general_evaluation.hpp"

namespace qm {

// Node tables from the graph's collect-nodes cache when allowed, otherwise by
// collecting the graph (storing the cache entry when allowed); binds instances.
void build_node_tables(GeneralEvaluation& ev);

// Every feature matrix a leaf reads must have shape (T, N_alloc).
void check_feature_shapes(GeneralEvaluation& ev);

// With function_states given: its keys are state keys of the graph, and every
// stateful instance has one.
void check_function_state_keys(GeneralEvaluation& ev);

// Registers, evaluation order, graph warm-up, filtration cache, output and
// register matrices, extraction buffer, data-NaN seeding and node-output capture.
void allocate_evaluation(GeneralEvaluation& ev);

// Cold start: tops up restored stateful reductions whose saved window is not full.
void prefill_cold_start(GeneralEvaluation& ev);

// Lowers the warm-up rows by the rows restored stateful instances have already seen.
void apply_instance_warmup(GeneralEvaluation& ev);

}  // namespace qm
