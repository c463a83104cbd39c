// Reduction nodes of the per-row loop: the column-wise mean of the signals'
// current weight rows, or a stateful instance fed with those rows and the
// signals' PnL values. A native PnL-weighted instance is stepped in C++ on
// the extraction buffer and a PnL vector kept by the plan, with the data-NaN
// provenance and the failures of the Python call.
#include <algorithm>
#include <cmath>
#include <new>
#include <stdexcept>

#include "evaluator/column_mean.hpp"
#include "evaluator/node_steps.hpp"
#include "evaluator/row_arrays.hpp"
#include "host/arrays.hpp"
#include "host/errors.hpp"
#include "host/format.hpp"
#include "host/host.hpp"
#include "host/messages.hpp"

namespace qm {

namespace {

[[noreturn]] void raise_no_signals(const Instruction& ins, std::int64_t t) {
    raise_error(host().EvaluationError, msg::reduction_without_signals(text_of(ins.name), text_of(ins.path), t));
}

nb::object call_stateful(const Program& program, const Instruction& ins, nb::handle input, nb::handle pnl,
                         std::int64_t t) {
    PyObject* slots[3] = {nullptr, input.ptr(), pnl.ptr()};
    PyObject* result = PyObject_Vectorcall(ins.instance.ptr(), slots + 1, 1 | PY_VECTORCALL_ARGUMENTS_OFFSET,
                                           program.signal_pnl_kwnames.ptr());
    if (!result) raise_instance_failure(ins, t);
    return nb::steal(result);
}

void step_native(GeneralEvaluation& ev, Program& program, const Instruction& ins, ReductionPlan& plan,
                 std::int64_t rows, std::int64_t t) {
    fill_pnl_values(plan.pnl, plan.count, t, plan.pnl_values.data());
    double* reg = program.row(ins.reg);
    try {
        plan.native->step(float64_data(ev.local_extraction_buffer), rows, program.n, plan.pnl_values.data(),
                          plan.count, reg);
    } catch (nb::python_error& error) {
        error.restore();
        raise_instance_failure(ins, t);
    } catch (const std::invalid_argument& error) {
        raise_native_failure(ins, t, PyExc_ValueError, error.what());
    } catch (const std::bad_alloc&) {
        raise_native_failure(ins, t, PyExc_MemoryError, "out of memory");
    }
    if (ev.provenance.propagate_data_nan(ins.nan_check, program.registers, program.n)) {
        std::fill(reg, reg + program.n, NAN);
    }
}

}  // namespace

void run_reduction(GeneralEvaluation& ev, Program& program, Instruction& ins, std::int64_t t) {
    if (!ins.reduction) ins.reduction = std::make_unique<ReductionPlan>(build_reduction_plan(ev, ins));
    ReductionPlan& plan = *ins.reduction;
    if (!plan.filtered) {
        if (plan.count == 0) raise_no_signals(ins, t);
        fill_extraction_buffer(ev, plan.signals, t);
    }
    if (ev.local_extraction_buffer.is_none()) raise_no_signals(ins, t);
    const std::int64_t rows = std::min(plan.count, dim_of(ev.local_extraction_buffer, 0));
    if (plan.native != nullptr) {
        step_native(ev, program, ins, plan, rows, t);
        return;
    }
    if (plan.stateful) {
        nb::object input = leading_rows_view(ev.local_extraction_buffer, rows, program.n);
        nb::object result = call_stateful(program, ins, input, pnl_vector(plan.pnl, plan.count, t), t);
        store_function_result(ev, program, ins, result, t);
        return;
    }
    double* reg = program.row(ins.reg);
    column_mean(float64_data(ev.local_extraction_buffer), rows, program.n, reg);
    if (ev.provenance.propagate_data_nan(ins.nan_check, program.registers, program.n)) {
        std::fill(reg, reg + program.n, NAN);
    }
}

}  // namespace qm
