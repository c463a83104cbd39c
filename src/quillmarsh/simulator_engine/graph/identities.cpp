#include "graph/identities.hpp"

#include "graph/accessors.hpp"
#include "host/host.hpp"
#include "host/pyutil.hpp"

namespace qm {

namespace {

void collect_identities(nb::handle node, const std::string& path, nb::dict& result) {
    RecursionGuard guard(" while generating node identities");
    result[nb::str(path.c_str())] = require_graph_node_value(node, path);
    size_t i = 0;
    for (nb::handle child : graph_children(node)) collect_identities(child, child_path(path, i++), result);
}

}  // namespace

bool is_function_node_type(nb::handle type_value) {
    return str_eq(type_value, "rotation") || str_eq(type_value, "reduction");
}

bool is_feature_leaf_type(nb::handle type_value) {
    return str_eq(type_value, "feature") || str_eq(type_value, "aggregation");
}

nb::object generate_node_identities(nb::handle graph) {
    nb::object cached = graph_cache_get(graph, "_node_identities");
    if (!cached.is_none()) return cached;
    nb::dict result;
    collect_identities(graph, "root", result);
    graph_cache_set(graph, "_node_identities", result);
    return result;
}

void annotate_state_identities(nb::handle node, const std::string& path) {
    RecursionGuard guard(" while stamping state identities");
    if (is_function_node_type(require_graph_type_value(node, path))) {
        graph_cache_set(node, "_state_identity", nb::str(path.c_str()));
    }
    size_t i = 0;
    for (nb::handle child : graph_children(node)) annotate_state_identities(child, child_path(path, i++));
}

void invalidate_graph_evaluation_caches(nb::handle graph) {
    if (!is_instance(graph, host().FunctionGraphNode)) return;
    RecursionGuard guard(" while invalidating graph caches");
    graph.attr("_collect_nodes_cache") = nb::none();
    graph.attr("_node_identities") = nb::none();
    for (nb::handle child : graph_children(graph)) invalidate_graph_evaluation_caches(child);
}

}  // namespace qm
