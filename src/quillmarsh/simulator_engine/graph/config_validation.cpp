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

std::vector<std::string> engine_only_keys(const nb::dict& config) {
    std::vector<std::string> keys;
    for (const char* name : {"A", "N_alloc"}) {
        if (config.contains(name)) keys.emplace_back(name);
    }
    return keys;
}

}  // namespace

nb::set param_schema_names(nb::handle entry) {
    nb::object schema = getattr_or_none(entry, "param_schema");
    nb::set names;
    if (schema.is_none()) return names;
    if (PyDict_Check(schema.ptr())) {
        for (nb::handle key : schema) names.add(key);
        return names;
    }
    for (nb::handle item : schema) {
        nb::object name = getattr_or_none(item, "name");
        if (!name.is_none() && truthy(name)) names.add(name);
    }
    return names;
}

void validate_graph_function_config(nb::handle registry, nb::handle function_name, nb::handle config,
                                    const std::string& path) {
    PyErr_SetString(PyExc_NotImplementedError, "configuration validation is not available yet");
    throw nb::python_error();
}

nb::list config_param_names(nb::handle entry) {
    PyErr_SetString(PyExc_NotImplementedError, "configuration parameter names are not available yet");
    throw nb::python_error();
}

void preflight_explicit_graph_config(nb::handle registry, nb::handle node, const std::string& path) {
    RecursionGuard guard(" while checking graph configuration");
    require_graph_node_instance(node, path);
    nb::object ntype = require_graph_type_value(node, path);
    nb::object nval = require_graph_node_value(node, path);
    if (is_function_node_type(ntype)) {
        nb::dict config = graph_config_dict(node);
        std::vector<std::string> engine_only = engine_only_keys(config);
        if (!engine_only.empty()) {
            raise_error(host().FunctionExecutionError,
                        msg::config_engine_only(text_of(nval), path, joined_sorted(engine_only)));
        }
        if (!registry.is_none() && truthy(registry.attr("has")(nval))) {
            nb::object entry = registry.attr("get_entry")(nval);
            nb::set allowed = param_schema_names(entry);
            if (str_eq(getattr_or_none(entry, "family"), "virtualization") && allowed.size() > 0) {
                std::vector<std::string> unknown;
                for (auto [key, value] : config) {
                    if (!allowed.contains(key)) unknown.push_back(text_of(key));
                }
                if (!unknown.empty()) {
                    raise_error(host().FunctionExecutionError,
                                msg::config_unknown(text_of(nval), path, joined_sorted(unknown)));
                }
            }
        }
    }
    size_t i = 0;
    for (nb::handle child : graph_children(node)) preflight_explicit_graph_config(registry, child, child_path(path, i++));
}

}  // namespace qm
