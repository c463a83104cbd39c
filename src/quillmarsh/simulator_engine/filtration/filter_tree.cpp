#include "filtration/filter_tree.hpp"

namespace qm {

nb::object dict_to_filter_node(nb::handle graph_node, const std::string& path) {
    PyErr_SetString(PyExc_NotImplementedError, "filter tree conversion is not available yet");
    throw nb::python_error();
}

std::string describe_dict_filter(nb::handle node, const std::string& path) {
    PyErr_SetString(PyExc_NotImplementedError, "filter tree description is not available yet");
    throw nb::python_error();
}

}  // namespace qm
