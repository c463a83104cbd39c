// The cross-sectional operators: one line per operator.
#include "operators/cross_sectional/kernels.hpp"
#include "operators/operator_spec.hpp"

namespace qm::ops {

void add_cross_sectional_operators(std::vector<OperatorSpec>& table) {
    table.push_back({"cross_sectional_zscore_5f22cf", "cs_zscore", "cross_sectional", 1, false, {}, make_cs_zscore});
}

}  // namespace qm::ops
