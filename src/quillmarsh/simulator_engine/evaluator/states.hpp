// Saved states of stateful instances, and the log event written when one
// cannot be read.
#pragma once

#include <nanobind/nanobind.h>

#include "evaluator/general_evaluation.hpp"

namespace qm {

// Writes "expression_evaluator.get_state_failed" for the instance at `path`.
void log_get_state_failed(const GeneralEvaluation& ev, nb::handle path, nb::handle instance);

// State key -> FunctionState of every stateful instance (empty when the
// context's `_collect_states` is false).
nb::dict collect_states(const GeneralEvaluation& ev);

}  // namespace qm
