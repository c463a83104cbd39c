// Checks that all matrices of one evaluation line up with the first feature.
#pragma once

#include <cstdint>

#include <nanobind/nanobind.h>

namespace nb = nanobind;

namespace qm {

// Raises EvaluationError on the first inconsistency; returns nothing otherwise.
void validate_evaluation_shapes(nb::handle features, nb::handle universe, nb::handle useful_signals);

// The (T, N_alloc) dimensions of features[0]; EvaluationShapeError when it is
// not two-dimensional, IndexError when there is no first feature.
struct MatrixDims {
    std::int64_t rows, cols;
};
MatrixDims first_feature_dims(nb::handle features);

}  // namespace qm
