#include "graph/expanded_size.hpp"

#include <unordered_map>
#include <vector>

#include "host/errors.hpp"
#include "host/host.hpp"
#include "host/messages.hpp"
#include "host/pyutil.hpp"

namespace qm {

namespace {

// A node being counted: its children as a fast sequence and the next to visit.
struct Visit {
    nb::handle node;
    nb::object children;  // a list or tuple (PySequence_Fast), or None for a leaf
    Py_ssize_t next = 0;
    std::uint64_t size = 1;
};

// Its children as a list or tuple; None for a leaf or for anything that is not
// a readable sequence (the engine's walks report those).
nb::object children_of(nb::handle node) {
    if (!is_instance(node, host().FunctionGraphNode)) return nb::none();
    nb::object children = getattr_or_none(node, "children");
    if (children.is_none()) return children;
    PyObject* fast = PySequence_Fast(children.ptr(), "children");
    if (!fast) {
        PyErr_Clear();
        return nb::none();
    }
    return nb::steal(fast);
}

// True as soon as a node counts more than the limit of places (the graph
// then does too); false when the count stays within it or meets a cycle.
bool exceeds_limit(nb::handle graph) {
    std::unordered_map<PyObject*, std::uint64_t> counted;  // node -> places below and at it
    std::unordered_map<PyObject*, bool> on_path;
    std::vector<nb::object> alive;  // the counted nodes stay alive while their addresses are keys
    std::vector<Visit> stack;
    stack.push_back({graph, children_of(graph)});
    on_path[graph.ptr()] = true;
    while (!stack.empty()) {
        Visit& top = stack.back();
        const Py_ssize_t arity = top.children.is_none() ? 0 : PySequence_Fast_GET_SIZE(top.children.ptr());
        if (top.next < arity) {
            nb::handle child(PySequence_Fast_GET_ITEM(top.children.ptr(), top.next++));
            auto known = counted.find(child.ptr());
            if (known != counted.end()) {
                top.size += known->second;
            } else if (on_path.count(child.ptr())) {
                return false;  // a cycle: the engine's walks report it
            } else {
                on_path[child.ptr()] = true;
                stack.push_back({child, children_of(child)});
            }
        } else {
            const Visit done = stack.back();
            stack.pop_back();
            if (done.size > kMaxExpandedGraphNodes) return true;
            on_path.erase(done.node.ptr());
            counted[done.node.ptr()] = done.size;
            alive.push_back(nb::borrow(done.node));
            if (!stack.empty()) stack.back().size += done.size;
        }
    }
    return false;
}

}  // namespace

void check_expanded_graph_size(nb::handle graph) {
    bool too_large = false;
    try {
        too_large = exceeds_limit(graph);
    } catch (nb::python_error&) {
        // Reading a node raised: the engine's own walks report it.
    }
    if (too_large) raise_error(host().SchemaError, msg::graph_too_large(kMaxExpandedGraphNodes));
}

}  // namespace qm
