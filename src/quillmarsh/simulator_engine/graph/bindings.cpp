// Module surface of the graph model: accessors, identities and caches.
#include <string>

#include <nanobind/nanobind.h>
#include <nanobind/stl/string.h>

#include "graph/accessors.hpp"
#include "graph/identities.hpp"

namespace nb = nanobind;
using namespace nb::literals;

namespace qm {

void export_graph(nb::module_& m) {
    m.def("_require_graph_node_instance",
          [](nb::handle node, const std::string& path) { return nb::borrow(require_graph_node_instance(node, path)); },
          "node"_a, "path"_a);
    m.def("_graph_has_field", [](nb::handle node, const std::string& key) { return graph_has_field(node, key.c_str()); },
          "node"_a, "key"_a);
    m.def("_require_graph_field",
          [](nb::handle node, const std::string& key, nb::handle path) {
              return require_graph_field(node, key.c_str(), nb::str(path).c_str());
          },
          "node"_a, "key"_a, "path"_a);
    m.def("_require_graph_type_value",
          [](nb::handle node, nb::handle path) { return require_graph_type_value(node, nb::str(path).c_str()); },
          "node"_a, "path"_a);
    m.def("_require_graph_node_value",
          [](nb::handle node, nb::handle path) { return require_graph_node_value(node, nb::str(path).c_str()); },
          "node"_a, "path"_a);
    m.def("_graph_children", &graph_children, "node"_a);
    m.def("_graph_config_dict", &graph_config_dict, "node"_a);
    m.def("_graph_cache_get", [](nb::handle graph, const std::string& key) { return graph_cache_get(graph, key.c_str()); },
          "graph"_a, "key"_a);
    m.def("_graph_cache_set",
          [](nb::handle graph, const std::string& key, nb::handle value) { graph_cache_set(graph, key.c_str(), value); },
          "graph"_a, "key"_a, "value"_a);
    m.def("generate_node_identities", &generate_node_identities, "graph"_a);
    m.def("invalidate_graph_evaluation_caches", &invalidate_graph_evaluation_caches, "graph"_a.none());
    m.def("_annotate_state_identities",
          [](nb::handle node, const std::string& path) { annotate_state_identities(node, path); }, "node"_a,
          "path"_a = "root");
}

}  // namespace qm
