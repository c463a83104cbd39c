// EvaluationResult: the weights matrix with the states, data-NaN provenance and
// node outputs of one evaluation. Unpacks as the pair (weights, states) and
// otherwise behaves as the weights array.
#include "evaluator/result.hpp"

#include <string>

#include <nanobind/stl/string.h>

#include "host/format.hpp"
#include "host/host.hpp"
#include "host/pyclass.hpp"

using namespace nb::literals;

namespace qm {

namespace {

nb::tuple as_pair(nb::handle self) { return nb::make_tuple(self.attr("weights"), self.attr("states")); }

void init_result(nb::handle self, nb::handle weights, nb::handle states, nb::handle nan_source,
                 nb::handle node_outputs) {
    self.attr("weights") = weights;
    self.attr("states") = states;
    self.attr("nan_source") = nan_source.is_none() ? nb::object(nb::dict()) : nb::borrow(nan_source);
    self.attr("node_outputs") = node_outputs.is_none() ? nb::object(nb::dict()) : nb::borrow(node_outputs);
}

// Tuple indexing of the pair, with the tuple's own errors.
nb::object item_of(nb::handle self, nb::handle index) {
    PyObject* item = PyObject_GetItem(as_pair(self).ptr(), index.ptr());
    if (!item) throw nb::python_error();
    return nb::steal(item);
}

nb::object array_of(nb::handle self, nb::handle dtype, nb::handle copy) {
    nb::object np = host().numpy;
    if (dtype.is_none()) return np.attr("asarray")(self.attr("weights"));
    return np.attr("asarray")(self.attr("weights"), "dtype"_a = dtype);
}

// Called only when normal lookup failed: forward to the weights. The record's
// own fields are never forwarded, so a half-built result cannot recurse.
nb::object forward_attribute(nb::handle self, nb::str name) {
    for (const char* own : {"weights", "states", "nan_source", "node_outputs"}) {
        if (PyUnicode_CompareWithASCIIString(name.ptr(), own) == 0) {
            PyErr_SetObject(PyExc_AttributeError, name.ptr());
            throw nb::python_error();
        }
    }
    return nb::getattr(self.attr("weights"), name);
}

std::string result_repr(nb::handle self) {
    return "EvaluationResult(weights=" + repr_of(self.attr("weights")) + ", states=" + repr_of(self.attr("states")) +
           ")";
}

}  // namespace

nb::object make_result(nb::handle weights, nb::handle states, nb::handle nan_source, nb::handle node_outputs) {
    return host().EvaluationResult(weights, states, nan_source, node_outputs);
}

void export_result_type(nb::module_& m) {
    nb::dict ns;
    ns["__doc__"] = "Weights of one evaluation with its states; unpacks as (weights, states).";
    ns["__slots__"] = nb::make_tuple("weights", "states", "nan_source", "node_outputs");
    ns["__init__"] = method("__init__", &init_result, "self"_a, "weights"_a.none(), "states"_a.none(), "nan_source"_a = nb::none(),
                            "node_outputs"_a = nb::none());
    ns["__iter__"] = method("__iter__", [](nb::handle self) { return nb::iter(as_pair(self)); }, "self"_a);
    ns["__len__"] = method("__len__", [](nb::handle) { return 2; }, "self"_a);
    ns["__getitem__"] = method("__getitem__", &item_of, "self"_a, "index"_a.none());
    ns["__array__"] = method("__array__", &array_of, "self"_a, "dtype"_a = nb::none(), "copy"_a = nb::none());
    ns["__getattr__"] = method("__getattr__", &forward_attribute, "self"_a, "name"_a);
    ns["__repr__"] = method("__repr__", &result_repr, "self"_a);
    host_mut().EvaluationResult = make_class("EvaluationResult", reinterpret_cast<PyObject*>(&PyBaseObject_Type), ns);
    m.attr("EvaluationResult") = host().EvaluationResult;
}

}  // namespace qm
