#include "evaluator/states.hpp"

#include "host/host.hpp"

using namespace nb::literals;

namespace qm {

void log_get_state_failed(const GeneralEvaluation& ev, nb::handle path, nb::handle instance) {
    nb::object name = ev.tables.node_info.contains(path) ? nb::object(ev.tables.node_info[path]["node"]) : nb::none();
    nb::object instance_id = nb::steal(PyLong_FromVoidPtr(instance.ptr()));
    host().logger.attr("error")("expression_evaluator.get_state_failed", "instance_id"_a = instance_id,
                                "node_id"_a = path, "function_name"_a = name);
}

nb::dict collect_states(const GeneralEvaluation& ev) {
    nb::dict states;
    nb::object enabled = has_attr(ev.context, "_collect_states") ? nb::object(ev.context.attr("_collect_states"))
                                                                  : nb::object(nb::bool_(true));
    if (!truthy(enabled)) return states;
    for (auto [path, instance] : ev.tables.func_instances) {
        if (!is_stateful(instance)) continue;
        try {
            nb::object name = ev.tables.node_info[path]["node"];
            nb::object version = ev.context.attr("registry").attr("get_function_version")(name);
            nb::object data = instance.attr("get_state")();
            states[state_key_of(ev.tables, path)] =
                host().FunctionState("function_name"_a = name, "function_version"_a = version, "data"_a = data);
        } catch (nb::python_error&) {
            log_get_state_failed(ev, path, instance);
            throw;
        }
    }
    return states;
}

}  // namespace qm
