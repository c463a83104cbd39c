// Checks of the caller's inputs against the collected graph: feature matrix
// shapes and the keys of the saved function states.
#include "evaluator/preparation.hpp"

#include "host/errors.hpp"
#include "host/format.hpp"
#include "host/host.hpp"
#include "host/messages.hpp"
#include "host/pyutil.hpp"

namespace qm {

namespace {

// The "node" value of the first record, in collection order, that lists `path`
// among its children; None for the root.
nb::object parent_name(const NodeTables& tables, nb::handle path) {
    for (auto [candidate, record] : tables.node_info) {
        if (contains(record["children_paths"], path)) return record["node"];
    }
    return nb::none();
}

}  // namespace

void check_feature_shapes(GeneralEvaluation& ev) {
    nb::object features = ev.context.attr("features");
    nb::tuple expected = nb::make_tuple(ev.T, ev.N);
    for (auto [path, position] : ev.tables.feature_refs) {
        nb::object matrix = features[position];
        if (!compare(matrix.attr("shape"), expected, Py_NE)) continue;
        std::string shape = shape_text_of(matrix);
        std::string feature = text_of(ev.tables.node_info[path]["node"]);
        nb::object parent = parent_name(ev.tables, path);
        if (!parent.is_none() && truthy(parent)) {
            raise_error(host().EvaluationShapeError,
                        msg::function_input_feature_shape(text_of(parent), feature, shape, ev.T, ev.N));
        }
        raise_error(host().EvaluationShapeError, msg::feature_shape(feature, shape, ev.T, ev.N));
    }
}

void check_function_state_keys(GeneralEvaluation& ev) {
    nb::handle function_states = ev.options.function_states;
    if (function_states.is_none()) return;
    nb::set provided = set_of(function_states);
    if (!compare(provided, set_of(ev.tables.state_keys.values()), Py_LE)) {
        raise_error(host().EvaluationError, msg::function_state_keys_mismatch());
    }
    for (auto [path, instance] : ev.tables.func_instances) {
        if (is_stateful(instance) && !provided.contains(state_key_of(ev.tables, path))) {
            raise_error(host().EvaluationError, msg::function_state_keys_mismatch());
        }
    }
}

}  // namespace qm
