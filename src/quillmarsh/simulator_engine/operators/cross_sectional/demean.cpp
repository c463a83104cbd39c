#include "operators/cross_sectional/demean.hpp"

#include <cmath>

#include "operators/cross_sectional/numpy_sum.hpp"

namespace qm::ops {

void Demean::step(const double* const* inputs, double* out, std::int64_t n) {
    const double* x = inputs[0];
    present_.clear();
    for (std::int64_t i = 0; i < n; ++i) {
        if (!std::isnan(x[i])) present_.push_back(x[i]);
    }
    if (present_.empty()) {
        for (std::int64_t i = 0; i < n; ++i) out[i] = x[i];
        return;
    }
    const double mean = numpy_sum(present_.data(), present_.size()) / static_cast<double>(present_.size());
    for (std::int64_t i = 0; i < n; ++i) out[i] = x[i] - mean;
}

}  // namespace qm::ops
