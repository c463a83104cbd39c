#include "fast_paths/longitudinal_path.hpp"

#include "fast_paths/common.hpp"
#include "fast_paths/leaf.hpp"
#include "fast_paths/longitudinal_names.hpp"
#include "fast_paths/rolling_entry.hpp"
#include "graph/accessors.hpp"
#include "graph/identities.hpp"
#include "host/arrays.hpp"
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

    bool supported(nb::handle node) const {
        RecursionGuard guard(" while checking a longitudinal graph");
        nb::object type = require_graph_type_value(node, "fast_path");
        if (is_feature_leaf_type(type)) return contains(feature_index_, require_graph_node_value(node, "fast_path"));
        if (!str_eq(type, "rotation")) return false;
        nb::object name = require_graph_node_value(node, "fast_path");
        if (!is_longitudinal_fast_name(name)) return false;
        if (!registry_allows_stub_fast_path(registry_, name)) return false;
        nb::object children = graph_children(node);
        nb::list data_children;
        for (nb::handle child : children) {
            if (!is_literal_child_type(require_graph_type_value(child, "fast_path.child"))) data_children.append(child);
        }
        if (data_children.size() != 1) return false;
        nb::object window = get_int_window_child(children);
        // A window below 1 has no rolling statistic: the general evaluator decides.
        if (window.is_none() || window < nb::int_(1)) return false;
        return supported(data_children[0]);
    }

private:
    nb::object feature_index_;
    nb::object registry_;
};

// The first child that is not a literal, or None.
nb::object first_data_child(nb::handle children) {
    size_t i = 0;
    for (nb::handle child : children) {
        if (!is_literal_child_type(require_graph_type_value(child, child_path("fast_path.eval", i++)))) {
            return nb::borrow(child);
        }
    }
    return nb::none();
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
    return ShapeCheck(context).supported(graph);
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

nb::object get_int_window_child(nb::handle children) {
    size_t i = 0;
    for (nb::handle child : children) {
        std::string path = child_path("window", i++);
        if (str_eq(require_graph_type_value(child, path), "int")) return nb::int_(require_graph_node_value(child, path));
    }
    return nb::none();
}

nb::object evaluate_longitudinal_fast(nb::handle graph, nb::handle context) {
    return as_float64_contiguous(evaluate_longitudinal_fast_node(graph, context));
}

nb::object evaluate_longitudinal_fast_node(nb::handle node, nb::handle context) {
    RecursionGuard guard(" while evaluating a longitudinal graph");
    if (is_feature_leaf_type(require_graph_type_value(node, "fast_path.eval"))) {
        return feature_matrix_for_fast_path(node, context);
    }
    nb::object children = graph_children(node);
    // `data` (the inner level's matrix) is released on return, so at most two
    // levels' matrices are alive at once.
    nb::object data = evaluate_longitudinal_fast_node(first_data_child(children), context);
    nb::object window = get_int_window_child(children);
    return rolling_longitudinal_fast(data, window, require_graph_node_value(node, "fast_path.eval"));
}

}  // namespace qm
