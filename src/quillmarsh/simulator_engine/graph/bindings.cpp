// Module surface of the graph model: accessors, identities, caches, parameter
// schemas and configuration checks.
#include <string>

#include <nanobind/nanobind.h>
#include <nanobind/stl/string.h>

#include "graph/accessors.hpp"
#include "graph/config_validation.hpp"
#include "graph/identities.hpp"
#include "host/format.hpp"

namespace nb = nanobind;
using namespace nb::literals;

namespace qm {

namespace {

void export_param_schema(nb::module_& m) {
    m.attr("_CONFIG_CHILD_TYPES") = config_child_types();
    m.def("_iter_schema_items", &iter_schema_items, "schema"_a.none());
    m.def("_schema_param_name_and_type",
          [](nb::handle item, nb::handle fallback_name) {
              auto [name, type] = schema_param_name_and_type(item, fallback_name);
              return nb::make_tuple(name, type);
          },
          "item"_a.none(), "fallback_name"_a.none() = nb::none());
    m.def("_schema_param_constraint", &schema_param_constraint, "item"_a.none());
    m.def("_schema_param_has_default", &schema_param_has_default, "constraint"_a.none());
    m.def("_schema_param_required", &schema_param_required, "constraint"_a.none());
    m.def("_config_param_names", &config_param_names, "entry"_a.none());
    m.def("_required_config_param_names", &required_config_param_names, "entry"_a.none());
    m.def("_param_schema_names", &param_schema_names, "entry"_a.none());
    m.def("_preflight_param_schema_names", &param_schema_names, "entry"_a.none());
}

// Test entry points of the two checks; the registry stands in for the evaluation's context.
void export_config_checks(nb::module_& m) {
    m.def("_preflight_explicit_graph_config", &preflight_explicit_graph_config, "registry"_a.none(), "node"_a.none(),
          "path"_a);
    m.def("_validate_graph_function_config", &validate_graph_function_config, "registry"_a.none(),
          "function_name"_a.none(), "config"_a.none(), "path"_a);
}

}  // namespace

void export_graph(nb::module_& m) {
    export_param_schema(m);
    export_config_checks(m);
    m.def("_require_graph_node_instance",
          [](nb::handle node, const std::string& path) { return nb::borrow(require_graph_node_instance(node, path)); },
          "node"_a.none(), "path"_a);
    m.def("_graph_has_field", [](nb::handle node, const std::string& key) { return graph_has_field(node, key.c_str()); },
          "node"_a.none(), "key"_a);
    m.def("_require_graph_field",
          [](nb::handle node, const std::string& key, nb::handle path) {
              return require_graph_field(node, key.c_str(), text_of(path));
          },
          "node"_a.none(), "key"_a, "path"_a);
    m.def("_require_graph_type_value",
          [](nb::handle node, nb::handle path) { return require_graph_type_value(node, text_of(path)); },
          "node"_a.none(), "path"_a);
    m.def("_require_graph_node_value",
          [](nb::handle node, nb::handle path) { return require_graph_node_value(node, text_of(path)); },
          "node"_a.none(), "path"_a);
    m.def("_graph_children", &graph_children, "node"_a.none());
    m.def("_graph_config_dict", [](nb::handle node) { return graph_config_dict(node); }, "node"_a.none());
    m.def("_graph_cache_get", [](nb::handle graph, const std::string& key) { return graph_cache_get(graph, key.c_str()); },
          "graph"_a.none(), "key"_a);
    m.def("_graph_cache_set",
          [](nb::handle graph, const std::string& key, nb::handle value) { graph_cache_set(graph, key.c_str(), value); },
          "graph"_a.none(), "key"_a, "value"_a.none());
    m.def("generate_node_identities", &generate_node_identities, "graph"_a.none());
    m.def("invalidate_graph_evaluation_caches", &invalidate_graph_evaluation_caches, "graph"_a.none());
    m.def("_annotate_state_identities",
          [](nb::handle node, const std::string& path) { annotate_state_identities(node, path); }, "node"_a.none(),
          "path"_a = "root");
}

}  // namespace qm
