// Construction of EvaluationResult from C++.
#pragma once

#include <nanobind/nanobind.h>

namespace nb = nanobind;

namespace qm {

// EvaluationResult(weights, states, nan_source, node_outputs); None gives an empty dict.
nb::object make_result(nb::handle weights, nb::handle states, nb::handle nan_source = nb::none(),
                       nb::handle node_outputs = nb::none());

}  // namespace qm
