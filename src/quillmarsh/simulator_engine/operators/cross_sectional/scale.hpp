// scale(x, target): the row divided by its gross exposure (the sum of |x| over
// the non-NaN cells) and multiplied by target, so that the exposure becomes
// target; a row without exposure (all zero or NaN) stays as it is. The sum
// is NumPy's (np.nansum of |x|), so cells equal `x / gross * target` bit for bit.
// Stateless, O(n) with one row of scratch. Runs without the GIL, touches no
// Python object.
#pragma once

#include <memory>
#include <vector>

#include "operators/row_operator.hpp"

namespace qm::ops {

class Scale final : public RowOperator {
public:
    explicit Scale(double target) : target_(target) {}

    void step(const double* const* inputs, double* out, std::int64_t n) override;

private:
    double target_;
    std::vector<double> magnitudes_;  // |x| with NaN as 0, reused across steps
};

inline std::unique_ptr<RowOperator> make_scale(const std::vector<double>& params) {
    return std::make_unique<Scale>(params.at(0));
}

}  // namespace qm::ops
