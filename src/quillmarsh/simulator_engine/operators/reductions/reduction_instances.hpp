// The native reductions as Python sees them. NativeMeanReduction and
// NativePnlWeightedReduction follow the instance contract of the host's
// functions (stateful, window, the call, get_state / set_state, pickling)
// with the checks and messages of their NumPy twins; the general evaluator
// recognises a NativePnlWeightedReduction and steps its core without Python.
#pragma once

#include <cstdint>

#include <nanobind/nanobind.h>

#include "operators/reductions/pnl_weighted.hpp"

namespace nb = nanobind;

namespace qm::ops {

// A window length as the NumPy twin takes it: an integer (bool refused,
// TypeError) of at least 1 (ValueError).
std::int64_t validated_reduction_window(nb::handle window);

// The column-wise mean of a (signals, assets) matrix; ValueError for any other shape.
nb::object mean_reduction_call(nb::handle extraction);

class PnlWeightedInstance {
public:
    PnlWeightedInstance(nb::handle window, nb::object pnl_column);

    std::int64_t window() const { return reduction_.history().window(); }
    nb::object pnl_column() const { return pnl_column_; }
    PnlWeightedReduction& reduction() { return reduction_; }

    // The reduced (assets,) row; ValueError for an extraction that is not a
    // matrix or a PnL count other than its row count.
    nb::object call(nb::handle extraction, nb::handle signal_pnl);

    // {"count", "window", "pnl_history": a (rows kept, A) float64 copy, oldest first}.
    nb::dict get_state() const;

    // Checks the saved window, then the history's shape, then reads the count,
    // and replaces the history only when all of them passed.
    void set_state(nb::handle data);

private:
    PnlWeightedReduction reduction_;
    nb::object pnl_column_;  // recorded only: the engine reads that PnL column and passes its values
};

// The reduction core of a NativePnlWeightedReduction instance, or nullptr for any other object.
PnlWeightedReduction* native_reduction_of(nb::handle instance);

}  // namespace qm::ops
