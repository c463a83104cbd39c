// demean(x): each cell minus the mean of the row's non-NaN cells; NaN stays
// NaN, a row without a value stays as it is. The mean is NumPy's (np.mean of
// the non-NaN cells), so cells equal `x - x[~isnan(x)].mean()` bit for bit.
// Stateless, O(n) with one row of scratch. Runs without the GIL, touches no
// Python object.
#pragma once

#include <memory>
#include <vector>

#include "operators/row_operator.hpp"

namespace qm::ops {

class Demean final : public RowOperator {
public:
    void step(const double* const* inputs, double* out, std::int64_t n) override;

private:
    std::vector<double> present_;  // the row's non-NaN cells, reused across steps
};

inline std::unique_ptr<RowOperator> make_demean(const std::vector<double>&) { return std::make_unique<Demean>(); }

}  // namespace qm::ops
