#include "fast_paths/longitudinal_path.hpp"

#include <string>
#include <vector>

#include "fast_paths/common.hpp"
#include "fast_paths/leaf.hpp"
#include "fast_paths/longitudinal_names.hpp"
#include "fast_paths/rolling_entry.hpp"
#include "graph/accessors.hpp"
#include "graph/effective_config.hpp"
#include "graph/identities.hpp"
#include "host/arrays.hpp"
#include "host/errors.hpp"
#include "host/host.hpp"
#include "host/messages.hpp"
#include "host/pyutil.hpp"

namespace qm {

namespace {

bool is_longitudinal_fast_name(nb::handle name) {
    return str_eq(name, kRollingMeanName) || str_eq(name, kRollingStdName) || str_eq(name, kRollingZScoreName);
}

// Literal children configure a rotation; every other child is data.
bool is_literal_child_type(nb::handle type_value) {
    return str_eq(type_value, "int") || str_eq(type_value, "string") || str_eq(type_value, "bool");
}

bool is_present(nb::handle value) { return !value.is_none(); }

bool is_non_empty(nb::handle value) { return !is_none_or_empty(value); }

// The graph shape the path accepts, checked against one context.
class ShapeCheck {
public:
    explicit ShapeCheck(nb::handle context)
        : feature_index_(context.attr("feature_index")), registry_(getattr_or_none(context, "registry")) {}

    bool supported(nb::handle node, const std::string& path) const {
        RecursionGuard guard(" while checking a longitudinal graph");
        nb::object type = require_graph_type_value(node, path);
        if (is_feature_leaf_type(type)) return contains(feature_index_, require_graph_node_value(node, path));
        if (!str_eq(type, "rotation")) return false;
        nb::object name = require_graph_node_value(node, path);
        if (!is_longitudinal_fast_name(name)) return false;
        if (!registry_allows_stub_fast_path(registry_, name)) return false;
        std::vector<size_t> data_children;
        size_t i = 0;
        for (nb::handle child : graph_children(node)) {
            std::string identity = child_path(path, i);
            if (!is_literal_child_type(require_graph_type_value(child, identity))) data_children.push_back(i);
            ++i;
        }
        if (data_children.size() != 1) return false;
        if (longitudinal_window(registry_, node, path).is_none()) return false;
        return supported(item_at(graph_children(node), static_cast<Py_ssize_t>(data_children[0])),
                         child_path(path, data_children[0]));
    }

private:
    nb::object feature_index_;
    nb::object registry_;
};

nb::object evaluate_node(nb::handle node, nb::handle context, const std::string& path) {
    RecursionGuard guard(" while evaluating a longitudinal graph");
    if (is_feature_leaf_type(require_graph_type_value(node, path))) return feature_matrix_for_fast_path(node, context);
    size_t i = 0;
    for (nb::handle child : graph_children(node)) {
        std::string identity = child_path(path, i++);
        if (is_literal_child_type(require_graph_type_value(child, identity))) continue;
        // `data` (the inner level's matrix) is released on return, so at most
        // two levels' matrices are alive at once.
        nb::object data = evaluate_node(child, context, identity);
        nb::object window = longitudinal_window(getattr_or_none(context, "registry"), node, path);
        return rolling_longitudinal_fast(data, window, require_graph_node_value(node, path));
    }
    raise_error(host().EvaluationError, msg::rolling_without_data(path));
}

}  // namespace

nb::object longitudinal_fast_names() {
    return frozenset_of({kRollingZScoreName, kRollingStdName, kRollingMeanName});
}

bool can_use_longitudinal_fast_path(nb::handle graph, nb::handle context, nb::handle function_states,
                                    std::int64_t rows, nb::handle data_nan_features) {
    if (!is_none_or_empty(data_nan_features)) return false;
    if (rows < kLongitudinalFastMinRows) return false;
    if (!function_states.is_none()) return false;  // an empty map disqualifies too
    if (!context_has_no_signals_or_transforms(context)) return false;
    return ShapeCheck(context).supported(graph, "root");
}

bool registry_allows_stub_fast_path(nb::handle registry, nb::handle name) {
    if (registry.is_none()) return false;
    if (!truthy(registry.attr("has")(name))) return false;
    if (truthy(registry.attr("has_factory")(name))) return false;
    nb::object entry;
    try {
        entry = registry.attr("get_entry")(name);
    } catch (nb::python_error& err) {
        if (err.matches(PyExc_Exception)) return false;
        throw;
    }
    if (is_non_empty(getattr_or_none(entry, "module_path")) || is_non_empty(getattr_or_none(entry, "class_name"))) {
        return false;
    }
    return !is_present(getattr_or_none(entry, "factory")) && !is_present(getattr_or_none(entry, "implementation"));
}

nb::object longitudinal_window(nb::handle registry, nb::handle node, const std::string& path) {
    EffectiveConfig effective = effective_config(registry, node, require_graph_node_value(node, path), path);
    if (PyDict_Size(effective.config.ptr()) != 1) return nb::none();
    nb::object window = nb::borrow(PyDict_GetItemString(effective.config.ptr(), "window"));
    if (!window.is_valid() || PyBool_Check(window.ptr())) return nb::none();
    nb::object length = nb::steal(PyNumber_Index(window.ptr()));
    if (!length.is_valid()) {
        if (!PyErr_ExceptionMatches(PyExc_TypeError)) throw nb::python_error();
        PyErr_Clear();
        return nb::none();
    }
    if (length < nb::int_(1)) return nb::none();
    return length;
}

nb::object evaluate_longitudinal_fast(nb::handle graph, nb::handle context) {
    return as_float64_contiguous(evaluate_longitudinal_fast_node(graph, context));
}

nb::object evaluate_longitudinal_fast_node(nb::handle node, nb::handle context) {
    return evaluate_node(node, context, "root");
}

}  // namespace qm
