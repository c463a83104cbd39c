// The group operators: one line per operator.
#include "operators/group/kernels.hpp"
#include "operators/operator_declaration.hpp"

namespace qm::ops {

void add_group_operators(std::vector<OperatorSpec>& table) {
    table.push_back({"group_neutralize_178388", "indneutralize", "group", 2, false, {}, make_indneutralize});
}

}  // namespace qm::ops
