#include "warmup/warmup.hpp"

namespace qm {

long long compute_graph_warmup_rows(nb::handle graph_node, nb::handle registry, const std::string& path) {
    PyErr_SetString(PyExc_NotImplementedError, "warm-up accounting is not available yet");
    throw nb::python_error();
}

long long get_warmup_count_for_instance(nb::handle instance) {
    PyErr_SetString(PyExc_NotImplementedError, "warm-up accounting is not available yet");
    throw nb::python_error();
}

}  // namespace qm
