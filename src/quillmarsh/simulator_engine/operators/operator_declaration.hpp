// How a native operator is declared: its registry name, text-form alias,
// family, data inputs, parameters and factory. Each family folder lists its
// operators in one function, `add_<family>_operators(std::vector<OperatorSpec>&)`,
// one line per operator; the operator table gathers the four families.
#pragma once

#include <cstddef>
#include <memory>
#include <vector>

#include "operators/row_operator.hpp"

namespace qm::ops {

// Window: an integer >= 1 (a float is floored; the binding converts and checks).
// Number: any float64.
enum class ParamKind : std::uint8_t { Window, Number };

struct ParamSpec {
    const char* name;
    ParamKind kind;
    bool has_default = false;
    double default_value = 0.0;
};

// Parameter values in the order of OperatorSpec::params, already converted and checked.
using OperatorFactory = std::unique_ptr<RowOperator> (*)(const std::vector<double>& params);

struct OperatorSpec {
    const char* name;      // registry name, with its hexadecimal suffix
    const char* alias;     // the text form's name
    const char* family;    // "elementwise", "time_series", "cross_sectional" or "group"
    std::size_t arity;     // data inputs per call
    bool stateful;
    std::vector<ParamSpec> params;
    OperatorFactory make;
};

void add_elementwise_operators(std::vector<OperatorSpec>& table);
void add_time_series_operators(std::vector<OperatorSpec>& table);
void add_cross_sectional_operators(std::vector<OperatorSpec>& table);
void add_group_operators(std::vector<OperatorSpec>& table);

// Every native operator, in family order; built once.
const std::vector<OperatorSpec>& operator_table();

}  // namespace qm::ops
