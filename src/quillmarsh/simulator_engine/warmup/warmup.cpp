#include "warmup/warmup.hpp"

#include <vector>

#include "graph/accessors.hpp"
#include "graph/identities.hpp"
#include "host/pyutil.hpp"

namespace qm {

namespace {

// A non-literal child with the warm-up of its subtree.
struct ChildWarmup {
    nb::object child;
    std::string path;
    nb::object rows;  // a Python int
};

bool is_literal_type(nb::handle type_value) {
    return str_eq(type_value, "int") || str_eq(type_value, "float") || str_eq(type_value, "string");
}

bool is_conversion_error(const nb::python_error& err) {
    return err.matches(PyExc_TypeError) || err.matches(PyExc_ValueError);
}

std::vector<ChildWarmup> child_warmups(nb::handle children, nb::handle registry, const std::string& path) {
    std::vector<ChildWarmup> recorded;
    size_t i = 0;
    for (nb::handle child : children) {
        std::string cpath = child_path(path, i++);
        if (is_literal_type(require_graph_type_value(child, cpath))) continue;
        nb::object rows = compute_graph_warmup_rows(child, registry, cpath);
        recorded.push_back({nb::borrow(child), cpath, rows});
    }
    return recorded;
}

nb::object largest_warmup(const std::vector<ChildWarmup>& recorded) {
    nb::object best = nb::int_(0);
    for (const ChildWarmup& c : recorded) best = larger(best, c.rows);
    return best;
}

nb::object largest_rotation_warmup(const std::vector<ChildWarmup>& recorded) {
    nb::object best = nb::int_(0);
    for (const ChildWarmup& c : recorded) {
        if (str_eq(require_graph_type_value(c.child, c.path), "rotation")) best = larger(best, c.rows);
    }
    return best;
}

// The window an "int" child declares; None when its value cannot be read
// or converted with a type or value error.
nb::object int_child_window(nb::handle child, const std::string& path) {
    try {
        return nb::int_(require_graph_node_value(child, path));
    } catch (nb::python_error& err) {
        if (is_conversion_error(err)) return nb::none();
        throw;
    }
}

// The largest window among the node's "int" children; 0 when there is none.
nb::object window_of(nb::handle children, const std::string& path) {
    nb::object window = nb::int_(0);
    size_t i = 0;
    for (nb::handle child : children) {
        std::string cpath = child_path(path, i++);
        if (!str_eq(require_graph_type_value(child, cpath), "int")) continue;
        nb::object value = int_child_window(child, cpath);
        if (!value.is_none()) window = larger(window, value);
    }
    return window;
}

bool is_stateful_function(nb::handle registry, nb::handle func_name) {
    if (!truthy(registry.attr("has")(func_name))) return false;
    nb::object entry = registry.attr("get_entry")(func_name);
    return truthy(getattr_or_none(entry, "stateful"));
}

}  // namespace

nb::object compute_graph_warmup_rows(nb::handle graph_node, nb::handle registry, const std::string& path) {
    RecursionGuard guard(" while computing warm-up rows");
    nb::object children = graph_children(graph_node);
    std::vector<ChildWarmup> recorded = child_warmups(children, registry, path);
    nb::object max_child_warmup = largest_warmup(recorded);
    nb::object graph_type = require_graph_type_value(graph_node, path);
    if (!is_function_node_type(graph_type) || registry.is_none()) return max_child_warmup;
    if (!is_stateful_function(registry, require_graph_node_value(graph_node, path))) return max_child_warmup;
    nb::object window = window_of(children, path);
    if (!compare(window, nb::int_(1), Py_GT)) return max_child_warmup;
    nb::object own_warmup = window - nb::int_(1);
    if (str_eq(graph_type, "reduction")) return own_warmup;
    return own_warmup + largest_rotation_warmup(recorded);
}

nb::object saved_count(nb::handle payload) {
    if (!truthy(payload)) return nb::int_(0);  // an absent or empty payload
    try {
        return nb::int_(payload.attr("get")("count", 0));
    } catch (nb::python_error& err) {
        if (err.matches(PyExc_AttributeError) || is_conversion_error(err)) return nb::int_(0);
        throw;
    }
}

nb::object get_warmup_count_for_instance(nb::handle instance) { return saved_count(instance.attr("get_state")()); }

}  // namespace qm
