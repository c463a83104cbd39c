// Parameter values of a native operator from the keyword configuration a user
// or the registry passes: checked and converted in the operator's parameter order.
#pragma once

#include <vector>

#include <nanobind/nanobind.h>

#include "operators/operator_declaration.hpp"

namespace nb = nanobind;

namespace qm::ops {

struct OperatorParams {
    std::vector<double> values;  // in the order of OperatorSpec::params
    nb::dict config;             // name -> converted value (int for windows, float for numbers)
};

// A converted value as Python holds it: an int for windows, a float for numbers.
nb::object param_object(ParamKind kind, double value);

// Unknown or missing parameters and wrong types raise TypeError; a window
// below 1 or a non-finite window raises ValueError. A float window is floored.
OperatorParams convert_params(const OperatorSpec& declaration, nb::handle config);

}  // namespace qm::ops
