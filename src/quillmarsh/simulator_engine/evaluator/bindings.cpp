// Module surface of the evaluation driver: evaluate, _evaluate_unlocked and the result type.
#include <nanobind/nanobind.h>

#include "evaluator/entry.hpp"
#include "host/pyutil.hpp"

namespace nb = nanobind;
using namespace nb::literals;

namespace qm {

void export_result_type(nb::module_& m);

namespace {

EvaluationOptions options_of(nb::handle function_states, nb::handle is_cold_start, nb::handle bound,
                             nb::handle data_nan_features) {
    return EvaluationOptions{nb::borrow(function_states), truthy(is_cold_start), nb::borrow(bound),
                             nb::borrow(data_nan_features)};
}

template <nb::object (*Body)(nb::handle, nb::handle, const EvaluationOptions&)>
void def_entry(nb::module_& m, const char* name) {
    m.def(
        name,
        [](nb::handle graph, nb::handle context, nb::handle function_states, nb::handle is_cold_start,
           nb::handle bound, nb::handle data_nan_features) {
            return Body(graph, context, options_of(function_states, is_cold_start, bound, data_nan_features));
        },
        "graph"_a.none(), "context"_a.none(), "function_states"_a.none() = nb::none(), "is_cold_start"_a = false,
        nb::kw_only(), "bound_function_instances"_a.none() = nb::none(), "data_nan_features"_a.none() = nb::none());
}

}  // namespace

void export_evaluator(nb::module_& m) {
    export_result_type(m);
    def_entry<&evaluate>(m, "evaluate");
    def_entry<&evaluate_unlocked>(m, "_evaluate_unlocked");
}

}  // namespace qm
