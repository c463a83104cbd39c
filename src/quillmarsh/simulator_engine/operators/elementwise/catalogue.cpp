// The element-wise operators: one line per operator.
#include "operators/elementwise/binary_map.hpp"
#include "operators/elementwise/cell_functions.hpp"
#include "operators/elementwise/constant_operand_map.hpp"
#include "operators/elementwise/select.hpp"
#include "operators/elementwise/unary_map.hpp"
#include "operators/operator_declaration.hpp"

namespace qm::ops {

namespace {

constexpr const char* kFamily = "elementwise";

template <class F>
OperatorSpec binary(const char* name, const char* alias) {
    return {name, alias, kFamily, 2, false, {}, &make_binary<F>};
}

template <class F>
OperatorSpec unary(const char* name, const char* alias) {
    return {name, alias, kFamily, 1, false, {}, &make_unary<F>};
}

// x and a constant operand, the float parameter `param`.
template <class F>
OperatorSpec with_constant(const char* name, const char* alias, const char* param = "value") {
    return {name, alias, kFamily, 1, false, {{param, ParamKind::Number}}, &make_constant_operand<F>};
}

}  // namespace

void add_elementwise_operators(std::vector<OperatorSpec>& table) {
    using namespace cell;
    table.push_back(binary<Mul>("numerical_combine_d65e04", "mul"));
    table.push_back(binary<Add>("elementwise_add_58d1bb", "add"));
    table.push_back(binary<Sub>("elementwise_sub_5d8561", "sub"));
    table.push_back(binary<Div>("elementwise_div_26021f", "div"));
    table.push_back(unary<Negate>("elementwise_neg_c732df", "neg"));
    table.push_back(unary<Absolute>("elementwise_abs_82451b", "abs"));
    table.push_back(unary<Log>("elementwise_log_7babc2", "log"));
    table.push_back(unary<Sign>("elementwise_sign_81e920", "sign"));
    table.push_back(binary<Power>("elementwise_power_b573f2", "power"));
    table.push_back(with_constant<SignedPower>("elementwise_signedpower_ab70ca", "signedpower", "a"));
    table.push_back(binary<Maximum>("elementwise_maximum_e77a31", "maximum"));
    table.push_back(binary<Minimum>("elementwise_minimum_bd164f", "minimum"));
    table.push_back(binary<Less>("elementwise_less_0b439c", "less"));
    table.push_back(binary<LessEqual>("elementwise_less_equal_9bc3ca", "less_equal"));
    table.push_back(binary<Greater>("elementwise_greater_8f10c1", "greater"));
    table.push_back(binary<GreaterEqual>("elementwise_greater_equal_b7ff05", "greater_equal"));
    table.push_back(binary<Equal>("elementwise_equal_f57b2d", "equal"));
    table.push_back(binary<NotEqual>("elementwise_not_equal_72645a", "not_equal"));
    table.push_back(binary<LogicalAnd>("elementwise_logical_and_827670", "logical_and"));
    table.push_back(binary<LogicalOr>("elementwise_logical_or_b5bd67", "logical_or"));
    table.push_back(unary<LogicalNot>("elementwise_logical_not_a2bb82", "logical_not"));
    table.push_back({"elementwise_where_46148c", "where", kFamily, 3, false, {}, &make_select});
    table.push_back(with_constant<ConstantLike>("elementwise_constant_like_09a791", "constant_like"));
    table.push_back(with_constant<Add>("elementwise_add_scalar_be4a7c", "add_scalar"));
    table.push_back(with_constant<Sub>("elementwise_sub_scalar_b7d2de", "sub_scalar"));
    table.push_back(with_constant<Reversed<Sub>>("elementwise_rsub_scalar_f0a004", "rsub_scalar"));
    table.push_back(with_constant<Mul>("elementwise_mul_scalar_69980f", "mul_scalar"));
    table.push_back(with_constant<Div>("elementwise_div_scalar_3fefad", "div_scalar"));
    table.push_back(with_constant<Reversed<Div>>("elementwise_rdiv_scalar_258a05", "rdiv_scalar"));
    table.push_back(with_constant<Power>("elementwise_power_scalar_ce4fd6", "power_scalar"));
    table.push_back(with_constant<Reversed<Power>>("elementwise_rpower_scalar_99cde3", "rpower_scalar"));
    table.push_back(with_constant<Maximum>("elementwise_maximum_scalar_8920cc", "maximum_scalar"));
    table.push_back(with_constant<Minimum>("elementwise_minimum_scalar_dbe2dc", "minimum_scalar"));
    table.push_back(with_constant<Less>("elementwise_less_scalar_88d2ca", "less_scalar"));
    table.push_back(with_constant<LessEqual>("elementwise_less_equal_scalar_e46f17", "less_equal_scalar"));
    table.push_back(with_constant<Greater>("elementwise_greater_scalar_258100", "greater_scalar"));
    table.push_back(with_constant<GreaterEqual>("elementwise_greater_equal_scalar_d23682", "greater_equal_scalar"));
    table.push_back(with_constant<Equal>("elementwise_equal_scalar_b702c8", "equal_scalar"));
    table.push_back(with_constant<NotEqual>("elementwise_not_equal_scalar_fad117", "not_equal_scalar"));
    table.push_back(with_constant<LogicalAnd>("elementwise_logical_and_scalar_910a7b", "logical_and_scalar"));
    table.push_back(with_constant<LogicalOr>("elementwise_logical_or_scalar_2c5c9c", "logical_or_scalar"));
}

}  // namespace qm::ops
