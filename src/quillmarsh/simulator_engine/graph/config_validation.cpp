#include "graph/config_validation.hpp"

#include <vector>

#include "graph/accessors.hpp"
#include "graph/identities.hpp"
#include "host/errors.hpp"
#include "host/format.hpp"
#include "host/host.hpp"
#include "host/messages.hpp"
#include "host/pyutil.hpp"

namespace qm {

namespace {

using Names = std::vector<std::string>;

// Keys of `config` that only the engine supplies ("A", "N_alloc").
Names engine_only_keys(nb::handle config) {
    Names keys;
    for (nb::handle key : config) {
        if (str_eq(key, "A") || str_eq(key, "N_alloc")) keys.push_back(text_of(key));
    }
    return keys;
}

Names keys_outside(nb::handle config, const nb::set& allowed) {
    Names keys;
    for (nb::handle key : config) {
        if (!allowed.contains(key)) keys.push_back(text_of(key));
    }
    return keys;
}

Names all_keys(nb::handle config) {
    Names keys;
    for (nb::handle key : config) keys.push_back(text_of(key));
    return keys;
}

Names missing_required(nb::handle entry, nb::handle config) {
    Names missing;
    for (nb::handle name : required_config_param_names(entry)) {
        if (!contains(config, name)) missing.push_back(text_of(name));
    }
    return missing;
}

bool is_virtualization(nb::handle entry) { return str_eq(getattr_or_none(entry, "family"), "virtualization"); }

// True when there is a registry and it has the function.
bool registry_has(nb::handle registry, nb::handle function_name) {
    return !registry.is_none() && truthy(registry.attr("has")(function_name));
}

void reject_engine_only(nb::handle config, nb::handle name, const std::string& path) {
    Names engine_only = engine_only_keys(config);
    if (!engine_only.empty()) {
        raise_error(host().FunctionExecutionError,
                    msg::config_engine_only(text_of(name), path, joined_sorted(engine_only)));
    }
}

void reject_missing(const Names& missing, nb::handle name, const std::string& path) {
    if (!missing.empty()) {
        raise_error(host().FunctionExecutionError, msg::config_missing(text_of(name), path, joined_sorted(missing)));
    }
}

void reject_unknown(const Names& unknown, nb::handle name, const std::string& path) {
    if (!unknown.empty()) {
        raise_error(host().FunctionExecutionError, msg::config_unknown(text_of(name), path, joined_sorted(unknown)));
    }
}

void preflight_function_node(nb::handle registry, nb::handle node, nb::handle nval, const std::string& path) {
    nb::dict config = graph_config_dict(node, path);
    reject_engine_only(config, nval, path);
    if (!registry_has(registry, nval)) return;
    nb::object entry = registry.attr("get_entry")(nval);
    nb::set allowed = param_schema_names(entry);
    if (is_virtualization(entry) && allowed.size() > 0) reject_unknown(keys_outside(config, allowed), nval, path);
}

}  // namespace

void preflight_explicit_graph_config(nb::handle registry, nb::handle node, const std::string& path) {
    RecursionGuard guard(" while checking graph configuration");
    require_graph_node_instance(node, path);
    nb::object ntype = require_graph_type_value(node, path);
    nb::object nval = require_graph_node_value(node, path);
    if (is_function_node_type(ntype)) preflight_function_node(registry, node, nval, path);
    size_t i = 0;
    for (nb::handle child : graph_children(node)) {
        preflight_explicit_graph_config(registry, child, child_path(path, i++));
    }
}

void validate_graph_function_config(nb::handle registry, nb::handle function_name, nb::handle config,
                                    const std::string& path) {
    reject_engine_only(config, function_name, path);
    if (!registry_has(registry, function_name)) return;
    nb::object entry = registry.attr("get_entry")(function_name);
    nb::set allowed = param_schema_names(entry);
    reject_missing(missing_required(entry, config), function_name, path);
    if (!is_virtualization(entry)) return;
    if (allowed.size() == 0) {
        reject_unknown(all_keys(config), function_name, path);
        return;
    }
    reject_unknown(keys_outside(config, allowed), function_name, path);
}

}  // namespace qm
