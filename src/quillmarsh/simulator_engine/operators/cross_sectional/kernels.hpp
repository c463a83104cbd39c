// Factories of the cross-sectional operators, one per kernel file.
#pragma once

#include <memory>
#include <vector>

#include "operators/row_operator.hpp"

namespace qm::ops {

using Params = std::vector<double>;

std::unique_ptr<RowOperator> make_cs_zscore(const Params& params);

}  // namespace qm::ops
