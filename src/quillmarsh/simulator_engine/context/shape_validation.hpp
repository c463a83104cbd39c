// Checks that all matrices of one evaluation line up with the first feature.
#pragma once

#include <nanobind/nanobind.h>

namespace nb = nanobind;

namespace qm {

// Raises EvaluationError on the first inconsistency; returns nothing otherwise.
void validate_evaluation_shapes(nb::handle features, nb::handle universe, nb::handle useful_signals);

}  // namespace qm
