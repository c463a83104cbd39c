#include "graph/collect_nodes.hpp"

#include "graph/accessors.hpp"
#include "graph/config_validation.hpp"
#include "graph/effective_config.hpp"
#include "graph/identities.hpp"
#include "host/errors.hpp"
#include "host/format.hpp"
#include "host/host.hpp"
#include "host/messages.hpp"
#include "host/pyutil.hpp"

namespace qm {

namespace {

nb::dict node_record(nb::handle node, nb::handle ntype, nb::handle nval, const std::string& path,
                     nb::handle child_paths, nb::handle children) {
    nb::dict record;
    record["type"] = ntype;
    record["node"] = nval;
    record["canonical_id"] =
        graph_has_field(node, "canonical_id") ? require_graph_field(node, "canonical_id", path) : nb::none();
    record["children_paths"] = child_paths;
    record["children"] = children;
    return record;
}

// Without a registry the effective configuration adds only the literal-derived
// keys "window", "invert", "pnl_column" and "stat_name" to the explicit one,
// which the preflight of every evaluation has already checked: the validation
// could not reject it, so it is not run.
void validate_effective_config(nb::handle registry, nb::handle function_name, nb::handle config,
                               const std::string& path) {
    if (registry.is_none()) return;
    validate_graph_function_config(registry, function_name, config, path);
}

nb::object call_with_config(nb::handle callable, nb::handle args, const nb::dict& config) {
    nb::object kwargs = nb::steal(PyDict_Copy(config.ptr()));
    if (!kwargs.is_valid()) throw nb::python_error();
    PyObject* out = PyObject_Call(callable.ptr(), args.ptr(), kwargs.ptr());
    if (!out) throw nb::python_error();
    return nb::steal(out);
}

nb::object instance_for(NodeTables& tables, const CollectionInputs& inputs, nb::handle fname, nb::handle key,
                        nb::handle state_key, const nb::dict& config) {
    nb::object bound = lookup_bound_instance(tables.bound_instances, key, fname);
    if (bound.is_valid()) {
        tables.bound_paths.add(key);
        return bound;
    }
    std::string path = text_of(key);
    if (!inputs.bound_function_instances.is_none()) {
        raise_error(host().FunctionExecutionError, msg::bound_instance_missing(path, text_of(fname)));
    }
    if (!registry_can_instantiate(inputs.registry, fname)) {
        raise_error(host().FunctionExecutionError, msg::function_not_instantiable(text_of(fname), path));
    }
    if (!inputs.function_states.is_none() && contains(inputs.function_states, state_key)) {
        nb::object saved = inputs.function_states[state_key];
        return call_with_config(inputs.registry.attr("create_instance_from_state"), nb::make_tuple(fname, saved),
                                config);
    }
    return call_with_config(inputs.registry.attr("create_instance"), nb::make_tuple(fname), config);
}

nb::object first_filtration_child(nb::handle node, const std::string& path) {
    size_t i = 0;
    for (nb::handle child : graph_children(node)) {
        std::string identity = child_path(path, i++);
        if (str_eq(require_graph_type_value(child, identity), "filtration")) return nb::str(identity.c_str());
    }
    return nb::none();
}

void collect_function_node(NodeTables& tables, const CollectionInputs& inputs, nb::handle node, nb::handle ntype,
                           nb::handle fname, const std::string& path, nb::handle key) {
    nb::object state_key = graph_has_field(node, "_state_identity")
                               ? require_graph_field(node, "_state_identity", path)
                               : nb::borrow(key);
    tables.state_keys[key] = state_key;
    EffectiveConfig effective = effective_config(inputs.registry, node, fname, path);
    validate_effective_config(inputs.registry, fname, effective.config, path);
    nb::object record = tables.node_info[key];
    record["config"] = effective.config;
    record["config_child_paths"] = effective.config_child_paths;
    tables.func_instances[key] = instance_for(tables, inputs, fname, key, state_key, effective.config);
    if (str_eq(ntype, "reduction")) {
        nb::dict reduction;
        reduction["filtration_path"] = first_filtration_child(node, path);
        reduction["config"] = effective.config;
        tables.reduction_nodes[key] = reduction;
    }
}

}  // namespace

bool registry_can_instantiate(nb::handle registry, nb::handle function_name) {
    if (registry.is_none()) return false;
    return truthy(registry.attr("has")(function_name));
}

nb::object lookup_bound_instance(nb::handle bound_instances, nb::handle path, nb::handle function_name) {
    if (!contains(bound_instances, path)) return nb::object();
    nb::object instance = bound_instances[path];
    if (instance.is_none()) {
        raise_error(host().FunctionExecutionError, msg::bound_instance_none(text_of(path), text_of(function_name)));
    }
    return instance;
}

void collect_nodes(NodeTables& tables, const CollectionInputs& inputs, nb::handle node, const std::string& path) {
    RecursionGuard guard(" while collecting graph nodes");
    nb::object ntype = require_graph_type_value(node, path);
    nb::object nval = require_graph_node_value(node, path);
    nb::object children = graph_children(node);
    nb::list child_paths;
    size_t i = 0;
    for (nb::handle child : children) {
        std::string identity = child_path(path, i++);
        collect_nodes(tables, inputs, child, identity);
        child_paths.append(nb::str(identity.c_str()));
    }
    nb::str key(path.c_str());
    tables.node_info[key] = node_record(node, ntype, nval, path, child_paths, children);
    if (is_feature_leaf_type(ntype)) {
        if (!contains(inputs.feature_index, nval)) {
            raise_error(host().EvaluationError, msg::feature_not_in_context(text_of(nval)));
        }
        tables.feature_refs[key] = inputs.feature_index[nval];
    } else if (str_eq(ntype, "float")) {
        PyObject* value = PyNumber_Float(nval.ptr());
        if (!value) throw nb::python_error();
        tables.float_values[key] = nb::steal(value);
    } else if (str_eq(ntype, "filtration")) {
        tables.filtration_nodes[key] = node;
    } else if (is_function_node_type(ntype)) {
        collect_function_node(tables, inputs, node, ntype, nval, path, key);
    }
}

void topo_sort(NodeTables& tables, nb::handle path) {
    RecursionGuard guard(" while ordering graph nodes");
    nb::object record = tables.node_info[path];
    for (nb::handle child : record["children_paths"]) topo_sort(tables, child);
    tables.topo_order.append(path);
}

}  // namespace qm
