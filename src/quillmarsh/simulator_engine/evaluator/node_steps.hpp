// What one node does at row t of the per-row loop, by kind. Each step writes
// the node's register (or, for filtration nodes, the extraction buffer).
#pragma once

#include <cstdint>

#include <nanobind/nanobind.h>

#include "evaluator/general_evaluation.hpp"
#include "evaluator/program.hpp"

namespace qm {

// Feature leaf: the feature row, all NaN when marked data-NaN, masked by the universe row.
void run_feature_leaf(GeneralEvaluation& ev, Program& program, Instruction& ins, std::int64_t t);

// Literal leaf: its value repeated across the row.
void run_literal(Program& program, Instruction& ins);

// Precomputed node: its precomputed row, the same at every t.
void run_precomputed(Program& program, Instruction& ins, std::int64_t t);

// Filtration node: the passing signals' rows at t into the extraction buffer.
void run_filtration(GeneralEvaluation& ev, Instruction& ins, std::int64_t t);

// Function node: the instance called with its data children's rows.
void run_rotation(GeneralEvaluation& ev, Program& program, Instruction& ins, std::int64_t t);

// Function node of a native instance: its row operator stepped on the children's registers.
void run_native(GeneralEvaluation& ev, Program& program, Instruction& ins, std::int64_t t);

// Reduction node: the mean of the signals' rows, or the stateful instance fed with their PnL.
void run_reduction(GeneralEvaluation& ev, Program& program, Instruction& ins, std::int64_t t);

// FunctionExecutionError "Function '{name}' failed at row {t}: ..." caused by the
// error pending from a failed instance call; other BaseExceptions propagate as they are.
[[noreturn]] void raise_instance_failure(const Instruction& ins, std::int64_t t);

// Data-NaN propagation, then the result checks and the store into the node's register.
void store_function_result(GeneralEvaluation& ev, Program& program, const Instruction& ins, nb::handle result,
                           std::int64_t t);

// Builds a reduction node's plan at its first row.
ReductionPlan build_reduction_plan(GeneralEvaluation& ev, const Instruction& ins);

// The PnL vector fed to a stateful reduction at row t: a new float64 array of `count` values.
nb::object pnl_vector(const PnlPlan& plan, std::int64_t count, std::int64_t t);

// The same `count` PnL values written to `values`.
void fill_pnl_values(const PnlPlan& plan, std::int64_t count, std::int64_t t, double* values);

// FunctionExecutionError "Function '{name}' failed at row {t}: {what}" caused by
// a new `type` error holding `what`: a native step's C++ failure as Python sees it.
[[noreturn]] void raise_native_failure(const Instruction& ins, std::int64_t t, PyObject* type, const char* what);

}  // namespace qm
