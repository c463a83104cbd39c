// The group operators: one line per operator.
#include "operators/operator_spec.hpp"

namespace qm::ops {

void add_group_operators(std::vector<OperatorSpec>& table) {}

}  // namespace qm::ops
