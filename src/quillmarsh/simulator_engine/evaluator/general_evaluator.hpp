// The general evaluator: evaluates any validated graph row by row when no fast
// path applies.
#pragma once

#include <cstdint>

#include <nanobind/nanobind.h>

#include "evaluator/entry.hpp"

namespace nb = nanobind;

namespace qm {

// Prepares the evaluation, runs the per-row loop and returns the EvaluationResult.
nb::object run_general_evaluator(nb::handle graph, nb::handle context, const EvaluationOptions& options,
                                 std::int64_t T, std::int64_t N);

}  // namespace qm
