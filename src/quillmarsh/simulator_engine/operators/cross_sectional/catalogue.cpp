// The cross-sectional operators: one line per operator.
#include "operators/operator_spec.hpp"

namespace qm::ops {

void add_cross_sectional_operators(std::vector<OperatorSpec>& table) {}

}  // namespace qm::ops
