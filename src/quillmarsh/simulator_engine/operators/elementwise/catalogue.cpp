// The element-wise operators: one line per operator.
#include "operators/elementwise/binary_map.hpp"
#include "operators/elementwise/cell_functions.hpp"
#include "operators/elementwise/constant_operand_map.hpp"
#include "operators/elementwise/select.hpp"
#include "operators/elementwise/unary_map.hpp"
#include "operators/operator_spec.hpp"

namespace qm::ops {

namespace {

constexpr const char* kFamily = "elementwise";

OperatorSpec binary(const char* name, const char* alias, OperatorFactory make) {
    return {name, alias, kFamily, 2, false, {}, make};
}

OperatorSpec unary(const char* name, const char* alias, OperatorFactory make) {
    return {name, alias, kFamily, 1, false, {}, make};
}

OperatorSpec with_constant(const char* name, const char* alias, const char* param, OperatorFactory make) {
    return {name, alias, kFamily, 1, false, {{param, ParamKind::Number}}, make};
}

}  // namespace

void add_elementwise_operators(std::vector<OperatorSpec>& table) {
    using namespace cell;
    table.push_back(binary("numerical_combine_d65e04", "mul", &make_binary<Mul>));
    table.push_back(binary("elementwise_add_58d1bb", "add", &make_binary<Add>));
    table.push_back(binary("elementwise_sub_5d8561", "sub", &make_binary<Sub>));
    table.push_back(binary("elementwise_div_26021f", "div", &make_binary<Div>));
    table.push_back(unary("elementwise_neg_c732df", "neg", &make_unary<Negate>));
    table.push_back(unary("elementwise_abs_82451b", "abs", &make_unary<Absolute>));
    table.push_back(unary("elementwise_log_7babc2", "log", &make_unary<Log>));
    table.push_back(unary("elementwise_sign_81e920", "sign", &make_unary<Sign>));
    table.push_back(binary("elementwise_power_b573f2", "power", &make_binary<Power>));
    table.push_back(with_constant("elementwise_signedpower_ab70ca", "signedpower", "a", &make_constant_operand<SignedPower>));
    table.push_back(binary("elementwise_maximum_e77a31", "maximum", &make_binary<Maximum>));
    table.push_back(binary("elementwise_minimum_bd164f", "minimum", &make_binary<Minimum>));
    table.push_back(binary("elementwise_less_0b439c", "less", &make_binary<Less>));
    table.push_back(binary("elementwise_less_equal_9bc3ca", "less_equal", &make_binary<LessEqual>));
    table.push_back(binary("elementwise_greater_8f10c1", "greater", &make_binary<Greater>));
    table.push_back(binary("elementwise_greater_equal_b7ff05", "greater_equal", &make_binary<GreaterEqual>));
    table.push_back(binary("elementwise_equal_f57b2d", "equal", &make_binary<Equal>));
    table.push_back(binary("elementwise_not_equal_72645a", "not_equal", &make_binary<NotEqual>));
    table.push_back(binary("elementwise_logical_and_827670", "logical_and", &make_binary<LogicalAnd>));
    table.push_back(binary("elementwise_logical_or_b5bd67", "logical_or", &make_binary<LogicalOr>));
    table.push_back(unary("elementwise_logical_not_a2bb82", "logical_not", &make_unary<LogicalNot>));
    table.push_back({"elementwise_where_46148c", "where", kFamily, 3, false, {}, &make_select});
    table.push_back(with_constant("elementwise_constant_like_09a791", "constant_like", "value", &make_constant_operand<ConstantLike>));
    table.push_back(with_constant("elementwise_add_scalar_be4a7c", "add_scalar", "value", &make_constant_operand<Add>));
    table.push_back(with_constant("elementwise_sub_scalar_b7d2de", "sub_scalar", "value", &make_constant_operand<Sub>));
    table.push_back(with_constant("elementwise_rsub_scalar_f0a004", "rsub_scalar", "value", &make_constant_operand<Reversed<Sub>>));
    table.push_back(with_constant("elementwise_mul_scalar_69980f", "mul_scalar", "value", &make_constant_operand<Mul>));
    table.push_back(with_constant("elementwise_div_scalar_3fefad", "div_scalar", "value", &make_constant_operand<Div>));
    table.push_back(with_constant("elementwise_rdiv_scalar_258a05", "rdiv_scalar", "value", &make_constant_operand<Reversed<Div>>));
    table.push_back(with_constant("elementwise_power_scalar_ce4fd6", "power_scalar", "value", &make_constant_operand<Power>));
    table.push_back(with_constant("elementwise_rpower_scalar_99cde3", "rpower_scalar", "value", &make_constant_operand<Reversed<Power>>));
    table.push_back(with_constant("elementwise_maximum_scalar_8920cc", "maximum_scalar", "value", &make_constant_operand<Maximum>));
    table.push_back(with_constant("elementwise_minimum_scalar_dbe2dc", "minimum_scalar", "value", &make_constant_operand<Minimum>));
    table.push_back(with_constant("elementwise_less_scalar_88d2ca", "less_scalar", "value", &make_constant_operand<Less>));
    table.push_back(with_constant("elementwise_less_equal_scalar_e46f17", "less_equal_scalar", "value", &make_constant_operand<LessEqual>));
    table.push_back(with_constant("elementwise_greater_scalar_258100", "greater_scalar", "value", &make_constant_operand<Greater>));
    table.push_back(with_constant("elementwise_greater_equal_scalar_d23682", "greater_equal_scalar", "value", &make_constant_operand<GreaterEqual>));
    table.push_back(with_constant("elementwise_equal_scalar_b702c8", "equal_scalar", "value", &make_constant_operand<Equal>));
    table.push_back(with_constant("elementwise_not_equal_scalar_fad117", "not_equal_scalar", "value", &make_constant_operand<NotEqual>));
    table.push_back(with_constant("elementwise_logical_and_scalar_910a7b", "logical_and_scalar", "value", &make_constant_operand<LogicalAnd>));
    table.push_back(with_constant("elementwise_logical_or_scalar_2c5c9c", "logical_or_scalar", "value", &make_constant_operand<LogicalOr>));
}

}  // namespace qm::ops
