#include "filtration/filter_tree.hpp"

#include <initializer_list>
#include <vector>

#include "graph/accessors.hpp"
#include "host/host.hpp"
#include "host/format.hpp"
#include "host/pyutil.hpp"

using namespace nb::literals;

namespace qm {

namespace {

// Literal arguments of one filter node, in argument order, by literal type.
struct FilterLiterals {
    std::vector<nb::object> strings, floats, ints;
};

bool op_is(nb::handle op, std::initializer_list<const char*> names) {
    for (const char* name : names) {
        if (str_eq(op, name)) return true;
    }
    return false;
}

void set_first(nb::dict& params, const char* key, const std::vector<nb::object>& values) {
    if (!values.empty()) params[key] = values[0];
}

void fill_comparison(nb::handle op, const FilterLiterals& lit, nb::dict& params) {
    set_first(params, "field", lit.strings);
    set_first(params, "value", lit.floats.empty() ? lit.ints : lit.floats);
    if (op_is(op, {"eq", "neq"}) && lit.strings.size() >= 2) params["value"] = lit.strings[1];
}

void fill_between(const FilterLiterals& lit, nb::dict& params) {
    set_first(params, "field", lit.strings);
    if (lit.floats.size() < 2) return;
    params["low"] = lit.floats[0];
    params["high"] = lit.floats[1];
}

void fill_membership(const FilterLiterals& lit, nb::dict& params) {
    set_first(params, "field", lit.strings);
    if (lit.strings.size() < 2) return;
    nb::list values;
    for (size_t i = 1; i < lit.strings.size(); ++i) values.append(lit.strings[i]);
    params["values"] = values;
}

// The FilterNode params of operator `op` from its literal arguments; logical
// operators and unknown names take none.
nb::dict params_for(nb::handle op, const FilterLiterals& lit) {
    nb::dict params;
    if (op_is(op, {"gt", "lt", "gte", "lte", "eq", "neq"})) {
        fill_comparison(op, lit, params);
    } else if (op_is(op, {"between"})) {
        fill_between(lit, params);
    } else if (op_is(op, {"in_"})) {
        fill_membership(lit, params);
    } else if (op_is(op, {"top_pct", "bottom_pct"})) {
        set_first(params, "field", lit.strings);
        set_first(params, "pct", lit.floats);
    } else if (op_is(op, {"top_n", "bottom_n"})) {
        set_first(params, "field", lit.strings);
        set_first(params, "n", lit.ints);
    }
    return params;
}

std::string joined(const std::vector<std::string>& parts) {
    std::string out;
    for (size_t i = 0; i < parts.size(); ++i) out += (i ? ", " : "") + parts[i];
    return out;
}

// Text forms of the children's `node` values: "close, 5.0".
std::string child_values(nb::handle node, const std::string& path) {
    std::vector<std::string> parts;
    size_t i = 0;
    for (nb::handle child : graph_children(node)) {
        parts.push_back(text_of(require_graph_node_value(child, child_path(path, i++))));
    }
    return joined(parts);
}

std::string child_descriptions(nb::handle node, const std::string& path) {
    std::vector<std::string> parts;
    size_t i = 0;
    for (nb::handle child : graph_children(node)) parts.push_back(describe_dict_filter(child, child_path(path, i++)));
    return joined(parts);
}

// "filtration(<first child>)"; later children are not described.
std::string describe_filtration(nb::handle node, const std::string& path) {
    for (nb::handle first : graph_children(node)) {
        return "filtration(" + describe_dict_filter(first, child_path(path, 0)) + ")";
    }
    return "filtration()";
}

}  // namespace

nb::handle filtration_node_types() {
    static nb::handle types = frozenset_of({"filtration", "gt", "lt", "gte", "lte", "eq", "neq", "between", "in_",
                                            "and_", "or_", "not_", "top_pct", "bottom_pct", "top_n", "bottom_n"})
                                  .release();
    return types;
}

nb::object dict_to_filter_node(nb::handle graph_node, const std::string& path) {
    RecursionGuard guard(" while converting a filter tree");
    nb::object op = require_graph_node_value(graph_node, path);
    nb::list child_nodes;
    FilterLiterals literals;
    size_t i = 0;
    for (nb::handle child : graph_children(graph_node)) {
        std::string cpath = child_path(path, i++);
        nb::object ctype = require_graph_type_value(child, cpath);
        if (contains(filtration_node_types(), ctype)) {
            child_nodes.append(dict_to_filter_node(child, cpath));
        } else if (str_eq(ctype, "string")) {
            literals.strings.push_back(require_graph_node_value(child, cpath));
        } else if (str_eq(ctype, "float")) {
            literals.floats.push_back(require_graph_node_value(child, cpath));
        } else if (str_eq(ctype, "int")) {
            literals.ints.push_back(require_graph_node_value(child, cpath));
        }
    }
    return host().FilterNode("function_name"_a = op, "params"_a = params_for(op, literals),
                             "children"_a = child_nodes);
}

std::string describe_dict_filter(nb::handle node, const std::string& path) {
    RecursionGuard guard(" while describing a filter tree");
    nb::object op = require_graph_node_value(node, path);
    if (str_eq(op, "filtration")) return describe_filtration(node, path);
    if (str_eq(op, "gt")) return "gt(" + child_values(node, path) + ")";
    if (op_is(op, {"and_", "or_", "not_"})) return text_of(op) + "(" + child_descriptions(node, path) + ")";
    return text_of(op);
}

}  // namespace qm
