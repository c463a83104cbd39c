// A reduction node's signals and PnL sources, fixed at its first row: the
// filtration result or every useful signal sorted by id, and for stateful
// reductions where each signal's PnL comes from.
#include <algorithm>

#include "evaluator/node_steps.hpp"
#include "filtration/resolve_filt.hpp"
#include "host/arrays.hpp"
#include "host/errors.hpp"
#include "host/format.hpp"
#include "host/host.hpp"
#include "host/messages.hpp"
#include "host/pyutil.hpp"
#include "operators/reductions/reduction_instances.hpp"

namespace qm {

namespace {

// The configured PnL column, "gross_returns" when absent or empty.
nb::object stateful_pnl_column(nb::handle record) {
    nb::object config = record["config"];
    nb::object column = contains(config, nb::str("pnl_column")) ? nb::object(config["pnl_column"]) : nb::none();
    return is_none_or_empty(column) ? nb::object(nb::str("gross_returns")) : column;
}

std::int64_t column_position(nb::handle labels, nb::handle column) {
    Py_ssize_t position = PySequence_Index(labels.ptr(), column.ptr());
    if (position >= 0) return position;
    if (!PyErr_ExceptionMatches(PyExc_ValueError)) throw nb::python_error();
    PyErr_Clear();
    raise_error(host().EvaluationError, msg::pnl_column_missing(text_of(column), repr_of(list_of(labels))));
}

double fixed_pnl(nb::handle vectors, nb::handle signal_id, nb::handle column) {
    if (!contains(vectors, signal_id)) return 0.0;
    nb::object value = vectors[signal_id].attr("get")(column, 0.0);
    double out = PyFloat_AsDouble(value.ptr());
    if (out == -1.0 && PyErr_Occurred()) throw nb::python_error();
    return out;
}

PnlPlan pnl_plan(const GeneralEvaluation& ev, nb::handle passing_ids, nb::handle column) {
    PnlPlan plan;
    nb::object vectors = getattr_or_none(ev.context, "signal_pnl_vectors");
    nb::object labels = getattr_or_none(ev.context, "column_labels");
    nb::object signals = getattr_or_none(ev.context, "useful_signals");
    if (!vectors.is_none()) {
        plan.source = PnlPlan::Source::Vectors;
        for (nb::handle id : passing_ids) plan.fixed.push_back(fixed_pnl(vectors, id, column));
    } else if (!is_none_or_empty(labels)) {
        plan.source = PnlPlan::Source::Columns;
        plan.column = column_position(labels, column);
        for (nb::handle id : passing_ids) {
            bool has_pnl = !signals.is_none() && contains(signals, id);
            nb::object pnl = has_pnl ? nb::object(signals[id].attr("pnl")) : nb::none();
            plan.matrices.push_back(pnl.is_none() ? RowSource{} : row_source(pnl, -1));
        }
    }
    return plan;
}

}  // namespace

ReductionPlan build_reduction_plan(GeneralEvaluation& ev, const Instruction& ins) {
    ReductionPlan plan;
    nb::object filt_path = ins.reduction_record["filtration_path"];
    nb::object filt_result = truthy(filt_path) ? resolve_filt(ev.filtration, filt_path) : nb::none();
    nb::object passing_ids;
    plan.filtered = !filt_result.is_none();
    if (plan.filtered) {
        passing_ids = filt_result.attr("passing_ids");
    } else {
        nb::object signals = getattr_or_none(ev.context, "useful_signals");
        passing_ids = sorted_signal_ids(signals);
        plan.signals = signal_rows(signals, passing_ids, ev.N);
    }
    plan.count = static_cast<std::int64_t>(length_of(passing_ids));
    plan.stateful = is_stateful(ins.instance);
    if (plan.stateful) {
        plan.pnl = pnl_plan(ev, passing_ids, stateful_pnl_column(ins.reduction_record));
        plan.native = ops::native_reduction_of(ins.instance);
        if (plan.native != nullptr) plan.pnl_values.resize(static_cast<std::size_t>(plan.count));
    }
    return plan;
}

nb::object pnl_vector(const PnlPlan& plan, std::int64_t count, std::int64_t t) {
    nb::object out = empty_float64({count});
    fill_pnl_values(plan, count, t, float64_data(out));
    return out;
}

void fill_pnl_values(const PnlPlan& plan, std::int64_t count, std::int64_t t, double* values) {
    std::fill(values, values + count, 0.0);
    if (plan.source == PnlPlan::Source::Vectors) {
        std::copy(plan.fixed.begin(), plan.fixed.end(), values);
    } else if (plan.source == PnlPlan::Source::Columns) {
        for (std::int64_t k = 0; k < count; ++k) {
            const RowSource& pnl = plan.matrices[static_cast<std::size_t>(k)];
            if (pnl.original.is_valid()) values[k] = read_cell(pnl, t, plan.column);
        }
    }
}

}  // namespace qm
