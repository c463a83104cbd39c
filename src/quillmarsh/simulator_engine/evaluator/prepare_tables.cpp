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

nb::dict copy_of(const nb::dict& table) {
    nb::dict copy = nb::steal<nb::dict>(PyDict_Copy(table.ptr()));
    if (!copy.is_valid()) throw nb::python_error();
    return copy;
}

// The tables of one stored entry, each a copy of the stored dict.
struct CachedTables {
    nb::dict node_info, feature_ref_names, float_values, state_keys, filtration_nodes, reduction_nodes;
};

// A copy of the entry's table `key`; false when the entry lacks it or holds
// something else there.
bool copy_table(nb::handle entry, const char* key, nb::dict& out) {
    PyObject* table = PyDict_GetItemString(entry.ptr(), key);
    if (table == nullptr || !PyDict_Check(table)) return false;
    out = copy_of(nb::borrow<nb::dict>(table));
    return true;
}

// A stored entry is used only when it has the shape this evaluator writes;
// anything else counts as no entry and is replaced. The tables are copied
// before any user code runs: feature_index and bound instances may clear or
// replace the entry while the evaluation iterates its tables.
bool read_cache_entry(nb::handle entry, CachedTables& out) {
    if (!PyDict_Check(entry.ptr())) return false;
    return copy_table(entry, "node_info", out.node_info) &&
           copy_table(entry, "feature_ref_names", out.feature_ref_names) &&
           copy_table(entry, "float_values", out.float_values) && copy_table(entry, "state_keys", out.state_keys) &&
           copy_table(entry, "filtration_nodes", out.filtration_nodes) &&
           copy_table(entry, "reduction_nodes", out.reduction_nodes);
}

void tables_from_cache(GeneralEvaluation& ev, CachedTables& cached) {
    NodeTables& tables = ev.tables;
    tables.node_info = cached.node_info;
    tables.float_values = cached.float_values;
    tables.state_keys = cached.state_keys;
    tables.filtration_nodes = cached.filtration_nodes;
    tables.reduction_nodes = cached.reduction_nodes;
    nb::object feature_index = ev.context.attr("feature_index");
    for (auto [path, name] : cached.feature_ref_names) {
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

// The entry stores copies, so the evaluation that wrote it keeps tables no
// user code can reach through the graph.
nb::dict cache_entry(const NodeTables& tables) {
    nb::dict names;
    for (auto [path, position] : tables.feature_refs) names[path] = tables.node_info[path]["node"];
    nb::dict entry;
    entry["node_info"] = copy_of(tables.node_info);
    entry["feature_ref_names"] = names;
    entry["float_values"] = copy_of(tables.float_values);
    entry["state_keys"] = copy_of(tables.state_keys);
    entry["filtration_nodes"] = copy_of(tables.filtration_nodes);
    entry["reduction_nodes"] = copy_of(tables.reduction_nodes);
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
        CachedTables cached;
        if (read_cache_entry(graph_cache_get(ev.graph, kCacheSlot), cached)) {
            tables_from_cache(ev, cached);
            return;
        }
    }
    CollectionInputs inputs{getattr_or_none(ev.context, "registry"), ev.context.attr("feature_index"),
                            options.function_states, options.bound_function_instances};
    collect_nodes(ev.tables, inputs, ev.graph, "root");
    if (cacheable) graph_cache_set(ev.graph, kCacheSlot, cache_entry(ev.tables));
}

}  // namespace qm
