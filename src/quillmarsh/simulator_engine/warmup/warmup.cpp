#include "warmup/warmup.hpp"

#include <algorithm>
#include <optional>
#include <vector>

#include "graph/accessors.hpp"
#include "graph/identities.hpp"
#include "host/errors.hpp"
#include "host/messages.hpp"
#include "host/pyutil.hpp"

namespace qm {

namespace {

// A non-literal child with the warm-up of its subtree.
struct ChildWarmup {
    nb::object child;
    std::string path;
    long long rows;
};

bool is_literal_type(nb::handle type_value) {
    return str_eq(type_value, "int") || str_eq(type_value, "float") || str_eq(type_value, "string");
}

// int(value) as a C++ integer; errors, overflow included, propagate.
long long int_value(nb::handle value) {
    nb::int_ converted(value);
    long long out = PyLong_AsLongLong(converted.ptr());
    if (out == -1 && PyErr_Occurred()) throw nb::python_error();
    return out;
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
        long long rows = compute_graph_warmup_rows(child, registry, cpath);
        recorded.push_back({nb::borrow(child), cpath, rows});
    }
    return recorded;
}

long long largest_warmup(const std::vector<ChildWarmup>& recorded) {
    long long best = 0;
    for (const ChildWarmup& c : recorded) best = std::max(best, c.rows);
    return best;
}

long long largest_rotation_warmup(const std::vector<ChildWarmup>& recorded) {
    long long best = 0;
    for (const ChildWarmup& c : recorded) {
        if (str_eq(require_graph_type_value(c.child, c.path), "rotation")) best = std::max(best, c.rows);
    }
    return best;
}

// The window an "int" child declares; nullopt when its value cannot be read
// or converted with a type or value error.
std::optional<long long> int_child_window(nb::handle child, const std::string& path) {
    try {
        return int_value(require_graph_node_value(child, path));
    } catch (nb::python_error& err) {
        if (is_conversion_error(err)) return std::nullopt;
        throw;
    }
}

// The largest window among the node's "int" children; 0 when there is none.
long long window_of(nb::handle children, const std::string& path) {
    long long window = 0;
    size_t i = 0;
    for (nb::handle child : children) {
        std::string cpath = child_path(path, i++);
        if (!str_eq(require_graph_type_value(child, cpath), "int")) continue;
        std::optional<long long> value = int_child_window(child, cpath);
        if (value) window = std::max(window, *value);
    }
    return window;
}

bool is_stateful_function(nb::handle registry, nb::handle func_name) {
    if (!truthy(registry.attr("has")(func_name))) return false;
    nb::object entry = registry.attr("get_entry")(func_name);
    return truthy(getattr_or_none(entry, "stateful"));
}

long long checked_sum(long long a, long long b, const std::string& path) {
    long long sum = 0;
    if (__builtin_add_overflow(a, b, &sum)) raise_error(PyExc_OverflowError, msg::warmup_rows_overflow(path));
    return sum;
}

}  // namespace

long long compute_graph_warmup_rows(nb::handle graph_node, nb::handle registry, const std::string& path) {
    RecursionGuard guard(" while computing warm-up rows");
    nb::object children = graph_children(graph_node);
    std::vector<ChildWarmup> recorded = child_warmups(children, registry, path);
    long long max_child_warmup = largest_warmup(recorded);
    nb::object graph_type = require_graph_type_value(graph_node, path);
    if (!is_function_node_type(graph_type) || registry.is_none()) return max_child_warmup;
    if (!is_stateful_function(registry, require_graph_node_value(graph_node, path))) return max_child_warmup;
    long long window = window_of(children, path);
    if (window <= 1) return max_child_warmup;
    long long own_warmup = window - 1;
    if (str_eq(graph_type, "reduction")) return own_warmup;
    return checked_sum(own_warmup, largest_rotation_warmup(recorded), path);
}

long long get_warmup_count_for_instance(nb::handle instance) {
    nb::object state = instance.attr("get_state")();
    if (!truthy(state)) return 0;  // an absent or empty payload
    try {
        return int_value(state.attr("get")("count", 0));
    } catch (nb::python_error& err) {
        if (err.matches(PyExc_AttributeError) || is_conversion_error(err)) return 0;
        throw;
    }
}

}  // namespace qm
