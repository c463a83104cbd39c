// The state payload of a native operator: {"count", "window", and a NumPy copy
// of each history array}, and its restore with every saved array checked
// before anything is replaced.
#pragma once

#include <memory>
#include <vector>

#include <nanobind/nanobind.h>

#include "operators/operator_declaration.hpp"

namespace nb = nanobind;

namespace qm::ops {

nb::dict state_payload(RowOperator& op);

// A saved window past kWindowLimit reads as kWindowLimit, as window parameters
// saturate; anything else is returned as it is.
nb::object saturated_window(nb::object saved);

// A saved "count" as a row count: integer conversion, saturated at
// kWindowLimit (every window is full by then); negative is a ValueError.
std::int64_t saved_count_value(nb::handle saved);

// A new operator (from declaration and params) holding the saved payload `data`.
// Raises TypeError for a payload that is not a dict, ValueError for a window
// other than the operator's, a negative count, or a missing, mis-typed or
// mis-shaped history array. Arrays convert only under NumPy's safe casting.
std::unique_ptr<RowOperator> restored_operator(const OperatorSpec& declaration, const std::vector<double>& params,
                                               nb::handle data);

}  // namespace qm::ops
