// The cross-sectional operators: one line per operator.
#include "operators/cross_sectional/demean.hpp"
#include "operators/cross_sectional/kernels.hpp"
#include "operators/cross_sectional/rank.hpp"
#include "operators/cross_sectional/scale.hpp"
#include "operators/operator_declaration.hpp"

namespace qm::ops {

namespace {

constexpr const char* kFamily = "cross_sectional";

}  // namespace

void add_cross_sectional_operators(std::vector<OperatorSpec>& table) {
    table.push_back({"latitudinal_rank_688068", "rank", kFamily, 1, false, {}, &make_rank});
    table.push_back({"cross_sectional_demean_5e2a7c", "demean", kFamily, 1, false, {}, &make_demean});
    table.push_back({"cross_sectional_scale_c81f06", "scale", kFamily, 1, false,
                     {{"target", ParamKind::Number, true, 1.0}}, &make_scale});
    table.push_back({"cross_sectional_zscore_5f22cf", "cs_zscore", kFamily, 1, false, {}, &make_cs_zscore});
}

}  // namespace qm::ops
