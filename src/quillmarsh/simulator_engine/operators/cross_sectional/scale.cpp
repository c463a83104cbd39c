#include "operators/cross_sectional/scale.hpp"

#include <cmath>

#include "operators/cross_sectional/numpy_sum.hpp"

namespace qm::ops {

void Scale::step(const double* const* inputs, double* out, std::int64_t n) {
    const double* x = inputs[0];
    magnitudes_.resize(static_cast<std::size_t>(n));
    for (std::int64_t i = 0; i < n; ++i) magnitudes_[i] = std::isnan(x[i]) ? 0.0 : std::fabs(x[i]);
    const double gross = numpy_sum(magnitudes_.data(), magnitudes_.size());
    if (gross == 0.0) {
        for (std::int64_t i = 0; i < n; ++i) out[i] = x[i];
        return;
    }
    for (std::int64_t i = 0; i < n; ++i) out[i] = x[i] / gross * target_;
}

}  // namespace qm::ops
