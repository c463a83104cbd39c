// NativeFunction: a native operator instance as Python sees it. It follows the
// instance contract of the host's functions (stateful, window, call with one
// row per data input, get_state / set_state, pickling) and hands the general
// evaluator its RowOperator so that rows are stepped without Python.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include <nanobind/nanobind.h>

#include "operators/operator_declaration.hpp"

namespace nb = nanobind;

namespace qm::ops {

class NativeFunction {
public:
    // Raises KeyError for a name that is not in the operator table, and the
    // parameter errors of convert_params.
    NativeFunction(const std::string& name, nb::handle config);

    const OperatorSpec& declaration() const { return *declaration_; }
    const std::vector<double>& params() const { return params_; }
    RowOperator& row_operator() { return *op_; }
    nb::dict config() const { return config_; }

    // One new (n,) float64 row from one 1-D row per data input; ValueError on a
    // wrong count of rows, rows of other than one dimension or of unequal widths.
    nb::object call(nb::args rows, nb::kwargs kwargs);

    nb::dict get_state();
    void set_state(nb::handle data);

private:
    const OperatorSpec* declaration_;
    std::vector<double> params_;
    nb::dict config_;
    std::unique_ptr<RowOperator> op_;
};

// Whether a row of n cells fits an operator: it holds rows of n cells or of
// any width. Checked at every step, so kept apart from building the message.
inline bool fits_row_width(const RowOperator& op, std::int64_t n) {
    const std::int64_t width = op.width();
    return width < 0 || width == n;
}

// The message for a row of n cells handed to an operator that holds rows of
// another width; empty when n fits.
std::string row_width_mismatch(const RowOperator& op, std::int64_t n);

// The row operator of a NativeFunction instance; nullptr for any other object.
RowOperator* native_operator_of(nb::handle instance);

// The instance as a native function, or nullptr.
const NativeFunction* native_function_of(nb::handle instance);

// The data inputs the operator of a NativeFunction takes; 0 for any other object.
std::size_t native_arity_of(nb::handle instance);

}  // namespace qm::ops
