// One-input element-wise operators: out[i] = F(x[i]).
// Provides neg, abs, log, sign and logical_not (cell functions in cell_functions.hpp).
// Stateless, any row width, O(n); never writes the input.
#pragma once

#include <memory>
#include <vector>

#include "operators/row_operator.hpp"

namespace qm::ops {

template <class F>
class UnaryMap final : public RowOperator {
public:
    void step(const double* const* inputs, double* out, std::int64_t n) override {
        const double* x = inputs[0];
        for (std::int64_t i = 0; i < n; ++i) out[i] = F::apply(x[i]);
    }
};

template <class F>
std::unique_ptr<RowOperator> make_unary(const std::vector<double>&) {
    return std::make_unique<UnaryMap<F>>();
}

}  // namespace qm::ops
