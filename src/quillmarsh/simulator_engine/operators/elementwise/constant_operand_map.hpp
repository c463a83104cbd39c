// One-input element-wise operators with a constant operand c (the first
// parameter): out[i] = F(x[i], c). Provides every *_scalar operator (the
// reversed ones, c - x, c / x, c ** x, through cell::Reversed), signedpower
// (c is the exponent a) and constant_like (every cell is c).
// Stateless, any row width, O(n); never writes the input.
#pragma once

#include <memory>
#include <vector>

#include "operators/row_operator.hpp"

namespace qm::ops {

template <class F>
class ConstantOperandMap final : public RowOperator {
public:
    explicit ConstantOperandMap(double constant) : constant_(constant) {}

    void step(const double* const* inputs, double* out, std::int64_t n) override {
        const double* x = inputs[0];
        const double c = constant_;
        for (std::int64_t i = 0; i < n; ++i) out[i] = F::apply(x[i], c);
    }

private:
    double constant_;
};

template <class F>
std::unique_ptr<RowOperator> make_constant_operand(const std::vector<double>& params) {
    return std::make_unique<ConstantOperandMap<F>>(params.at(0));
}

}  // namespace qm::ops
