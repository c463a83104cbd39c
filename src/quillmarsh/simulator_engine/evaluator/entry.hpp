// The evaluation entry point: type check, per-context lock, and the opening
// steps shared by the fast paths and the general evaluator.
#pragma once

#include <nanobind/nanobind.h>

namespace nb = nanobind;

namespace qm {

// The optional arguments of one evaluation, as the caller passed them.
struct EvaluationOptions {
    nb::object function_states;
    bool is_cold_start = false;
    nb::object bound_function_instances;
    nb::object data_nan_features;
};

nb::object evaluate(nb::handle graph, nb::handle context, const EvaluationOptions& options);
nb::object evaluate_unlocked(nb::handle graph, nb::handle context, const EvaluationOptions& options);

}  // namespace qm
