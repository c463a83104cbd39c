// where(cond, a, b): a[i] where cond[i] is non-zero, b[i] where it is zero,
// NaN where cond[i] is NaN. Stateless, any row width, O(n); never writes the inputs.
#pragma once

#include <cmath>
#include <memory>
#include <vector>

#include "operators/elementwise/cell_functions.hpp"
#include "operators/row_operator.hpp"

namespace qm::ops {

class Select final : public RowOperator {
public:
    void step(const double* const* inputs, double* out, std::int64_t n) override {
        const double* cond = inputs[0];
        const double* a = inputs[1];
        const double* b = inputs[2];
        for (std::int64_t i = 0; i < n; ++i) {
            out[i] = std::isnan(cond[i]) ? cell::kNaN : (cond[i] != 0.0 ? a[i] : b[i]);
        }
    }
};

inline std::unique_ptr<RowOperator> make_select(const std::vector<double>&) { return std::make_unique<Select>(); }

}  // namespace qm::ops
