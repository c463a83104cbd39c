// Node tables of one evaluation: served from the graph's collect-nodes cache
// when the evaluation binds instances, otherwise collected from the graph.
#include "evaluator/preparation.hpp"

#include "graph/accessors.hpp"
#include "host/errors.hpp"
#include "host/format.hpp"
#include "host/host.hpp"
#include "host/messages.hpp"

namespace qm {

namespace {

constexpr const char* kCacheSlot = "_collect_nodes_cache";
constexpr const char* kCachedTables[] = {"node_info",        "feature_ref_names", "float_values",
                                         "state_keys",       "filtration_nodes",  "reduction_nodes"};

nb::object field_or_empty_dict(nb::handle context, const char* name) {
    nb::object value = getattr_or_none(context, name);
    return value.is_none() ? nb::object(nb::dict()) : value;
}

bool can_use_collect_nodes_cache(const GeneralEvaluation& ev) {
    if (!is_instance(ev.graph, host().FunctionGraphNode)) return false;
    if (ev.options.bound_function_instances.is_none()) return false;
    return is_none_or_empty(getattr_or_none(ev.context, "transform_pipeline")) ||
           truthy(getattr_or_none(ev.context, "transforms_already_combined"));
}

// A stored entry is used only when it has the shape this evaluator writes;
// anything else counts as no entry and is replaced.
bool is_usable_entry(nb::handle entry) {
    if (!PyDict_Check(entry.ptr())) return false;
    for (const char* key : kCachedTables) {
        PyObject* table = PyDict_GetItemString(entry.ptr(), key);
        if (table == nullptr || !PyDict_Check(table)) return false;
    }
    return true;
}

void tables_from_cache(GeneralEvaluation& ev, nb::handle entry) {
    NodeTables& tables = ev.tables;
    tables.node_info = nb::borrow<nb::dict>(entry["node_info"]);
    tables.float_values = nb::borrow<nb::dict>(entry["float_values"]);
    tables.state_keys = nb::borrow<nb::dict>(entry["state_keys"]);
    tables.filtration_nodes = nb::borrow<nb::dict>(entry["filtration_nodes"]);
    tables.reduction_nodes = nb::borrow<nb::dict>(entry["reduction_nodes"]);
    nb::object feature_index = ev.context.attr("feature_index");
    for (auto [path, name] : nb::borrow<nb::dict>(entry["feature_ref_names"])) {
        if (!contains(feature_index, name)) raise_error(host().EvaluationError, msg::feature_not_in_context(text_of(name)));
        tables.feature_refs[path] = feature_index[name];
    }
    for (auto [path, state_key] : tables.state_keys) {
        nb::object fname = tables.node_info[path]["node"];
        nb::object instance = lookup_bound_instance(tables.bound_instances, path, fname);
        if (!instance.is_valid()) {
            raise_error(host().FunctionExecutionError, msg::bound_instance_missing(text_of(path), text_of(fname)));
        }
        tables.bound_paths.add(path);
        tables.func_instances[path] = instance;
    }
}

nb::dict cache_entry(const NodeTables& tables) {
    nb::dict names;
    for (auto [path, position] : tables.feature_refs) names[path] = tables.node_info[path]["node"];
    nb::dict entry;
    entry["node_info"] = tables.node_info;
    entry["feature_ref_names"] = names;
    entry["float_values"] = tables.float_values;
    entry["state_keys"] = tables.state_keys;
    entry["filtration_nodes"] = tables.filtration_nodes;
    entry["reduction_nodes"] = tables.reduction_nodes;
    return entry;
}

}  // namespace

void build_node_tables(GeneralEvaluation& ev) {
    const EvaluationOptions& options = ev.options;
    ev.tables.bound_instances =
        options.bound_function_instances.is_none() ? nb::object(nb::dict()) : options.bound_function_instances;
    ev.precomputed_node_outputs = field_or_empty_dict(ev.context, "_precomputed_node_outputs");
    ev.precomputed_node_nan_source = field_or_empty_dict(ev.context, "_precomputed_node_nan_source");

    bool cacheable = can_use_collect_nodes_cache(ev);
    if (cacheable) {
        nb::object entry = graph_cache_get(ev.graph, kCacheSlot);
        if (!entry.is_none() && is_usable_entry(entry)) {
            tables_from_cache(ev, entry);
            return;
        }
    }
    CollectionInputs inputs{getattr_or_none(ev.context, "registry"), ev.context.attr("feature_index"),
                            options.function_states, options.bound_function_instances};
    collect_nodes(ev.tables, inputs, ev.graph, "root");
    if (cacheable) graph_cache_set(ev.graph, kCacheSlot, cache_entry(ev.tables));
}

}  // namespace qm
