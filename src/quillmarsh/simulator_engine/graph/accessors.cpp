#include "graph/accessors.hpp"

#include "host/errors.hpp"
#include "host/format.hpp"
#include "host/host.hpp"
#include "host/messages.hpp"
#include "host/pyutil.hpp"

namespace qm {

nb::handle require_graph_node_instance(nb::handle node, const std::string& path) {
    if (!is_instance(node, host().FunctionGraphNode)) {
        raise_error(host().SchemaError, msg::graph_node_type(path, type_name_of(node)));
    }
    return node;
}

bool graph_has_field(nb::handle node, const char* key) {
    require_graph_node_instance(node, "field-check");
    return has_attr(node, key);
}

nb::object require_graph_field(nb::handle node, const char* key, const std::string& path) {
    if (!graph_has_field(node, key)) raise_error(host().EvaluationError, msg::graph_missing_key(path, key));
    return node.attr(key);
}

nb::object require_graph_type_value(nb::handle node, const std::string& path) {
    return require_graph_field(node, "type", path);
}

nb::object require_graph_node_value(nb::handle node, const std::string& path) {
    return require_graph_field(node, "node", path);
}

nb::object graph_children(nb::handle node) {
    require_graph_node_instance(node, "children");
    nb::object children = getattr_or_none(node, "children");
    if (!children.is_none() && truthy(children)) return children;
    return nb::list();
}

nb::dict graph_config_dict(nb::handle node, const std::string& path) {
    require_graph_node_instance(node, "config");
    nb::object config = getattr_or_none(node, "config");
    nb::dict out;
    if (config.is_none()) return out;
    if (!has_attr(config, "keys")) raise_error(host().SchemaError, msg::graph_config_type(path, type_name_of(config)));
    out.update(config);
    return out;
}

nb::object graph_cache_get(nb::handle graph, const char* key) {
    require_graph_node_instance(graph, "cache");
    return getattr_or_none(graph, key);
}

void graph_cache_set(nb::handle graph, const char* key, nb::handle value) {
    require_graph_node_instance(graph, "cache");
    if (PyObject_SetAttrString(graph.ptr(), key, value.ptr()) == 0) return;
    if (PyErr_ExceptionMatches(PyExc_AttributeError) || PyErr_ExceptionMatches(PyExc_TypeError)) {
        PyErr_Clear();  // a node type without attribute storage keeps no caches
        return;
    }
    throw nb::python_error();
}

std::string child_path(const std::string& path, size_t index) { return path + ".c" + std::to_string(index); }

}  // namespace qm
