#include "graph/effective_config.hpp"

#include "graph/accessors.hpp"
#include "graph/config_validation.hpp"
#include "host/pyutil.hpp"

namespace qm {

namespace {

bool is_config_child_type(nb::handle type_value) {
    for (const char* kind : {"float", "int", "string", "bool", "list"}) {
        if (str_eq(type_value, kind)) return true;
    }
    return false;
}

// Functions whose string literal names a statistic rather than a PnL column.
bool takes_stat_name(nb::handle function_name) {
    for (const char* name : {"statistical_volatility_f7e034", "statistical_sharpe_2e4daa", "statistical_turnover_56582e"}) {
        if (str_eq(function_name, name)) return true;
    }
    return false;
}

// The schema's configuration parameter names; an entry that cannot be read or
// described yields none, and the kind-based defaults apply instead.
nb::list schema_config_names(nb::handle registry, nb::handle function_name) {
    if (registry.is_none() || !truthy(registry.attr("has")(function_name))) return nb::list();
    try {
        return config_param_names(registry.attr("get_entry")(function_name));
    } catch (nb::python_error& err) {
        if (!err.matches(PyExc_Exception)) throw;
        return nb::list();
    }
}

}  // namespace

EffectiveConfig effective_config(nb::handle registry, nb::handle node, nb::handle function_name,
                                 const std::string& path) {
    EffectiveConfig out{graph_config_dict(node, path), nb::set()};
    nb::list names = schema_config_names(registry, function_name);
    const size_t name_count = nb::len(names);
    size_t next_name = 0;
    nb::list string_values;
    size_t i = 0;
    for (nb::handle child : graph_children(node)) {
        std::string identity = child_path(path, i++);
        nb::object ctype = require_graph_type_value(child, identity);
        if (!is_config_child_type(ctype)) continue;
        nb::object value = require_graph_node_value(child, identity);
        nb::str key(identity.c_str());
        if (next_name < name_count) {
            out.config_child_paths.add(key);
            out.config[names[next_name++]] = value;
        } else if (str_eq(ctype, "int")) {
            out.config_child_paths.add(key);
            out.config["window"] = value;
        } else if (str_eq(ctype, "string")) {
            out.config_child_paths.add(key);
            string_values.append(value);
        } else if (str_eq(ctype, "bool")) {
            out.config_child_paths.add(key);
            out.config["invert"] = value;
        }
    }
    if (nb::len(string_values) > 0) {
        out.config[takes_stat_name(function_name) ? "stat_name" : "pnl_column"] = string_values[0];
    }
    return out;
}

}  // namespace qm
