// Every native operator, gathered from the four family catalogues once.
#include "operators/operator_declaration.hpp"

namespace qm::ops {

const std::vector<OperatorSpec>& operator_table() {
    static const std::vector<OperatorSpec> table = [] {
        std::vector<OperatorSpec> specs;
        add_elementwise_operators(specs);
        add_time_series_operators(specs);
        add_cross_sectional_operators(specs);
        add_group_operators(specs);
        return specs;
    }();
    return table;
}

}  // namespace qm::ops
