// The extraction buffer: the current row's weight rows of the signals a
// filtration or reduction node works on, one buffer per evaluation.
#pragma once

#include <cstdint>
#include <vector>

#include <nanobind/nanobind.h>

#include "evaluator/general_evaluation.hpp"
#include "evaluator/row_source.hpp"

namespace qm {

// The weights matrices of a list of signals, in list order.
struct SignalRows {
    std::vector<RowSource> weights;
};

// useful_signals[id].weights for each id of `signal_ids`.
SignalRows signal_rows(nb::handle useful_signals, nb::handle signal_ids, std::int64_t n_alloc);

// The ids of all useful signals, sorted ascending (none when the map is absent).
nb::list sorted_signal_ids(nb::handle useful_signals);

// Sizes the evaluation's buffer to the signal count (a new zero-filled matrix
// when its row count differs) and copies each signal's row t into it.
void fill_extraction_buffer(GeneralEvaluation& ev, const SignalRows& rows, std::int64_t t);

}  // namespace qm
