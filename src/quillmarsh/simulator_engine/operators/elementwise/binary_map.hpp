// Two-input element-wise operators: out[i] = F(a[i], b[i]).
// Provides mul (the product built-in), add, sub, div, power, maximum, minimum,
// the six comparisons and logical and/or (cell functions in cell_functions.hpp).
// Stateless, any row width, O(n); never writes the inputs.
#pragma once

#include <memory>
#include <vector>

#include "operators/row_operator.hpp"

namespace qm::ops {

template <class F>
class BinaryMap final : public RowOperator {
public:
    void step(const double* const* inputs, double* out, std::int64_t n) override {
        const double* a = inputs[0];
        const double* b = inputs[1];
        for (std::int64_t i = 0; i < n; ++i) out[i] = F::apply(a[i], b[i]);
    }
};

template <class F>
std::unique_ptr<RowOperator> make_binary(const std::vector<double>&) {
    return std::make_unique<BinaryMap<F>>();
}

}  // namespace qm::ops
