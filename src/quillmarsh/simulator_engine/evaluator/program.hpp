// The per-row program: every node compiled once per evaluation into a flat
// instruction (kind, register, sources, arguments, instance) in evaluation
// order, so that the per-row loop reads no Python tables.
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include <nanobind/nanobind.h>

#include "evaluator/extraction.hpp"
#include "evaluator/general_evaluation.hpp"
#include "evaluator/row_source.hpp"
#include "operators/reductions/pnl_weighted.hpp"
#include "operators/row_operator.hpp"
#include "provenance/data_nan.hpp"

namespace qm {

// Repeat: a function node that computes what an earlier node computes; its row is copied.
enum class OpKind : std::uint8_t { Inert, Feature, Literal, Filtration, Reduction, Rotation, Precomputed, Repeat };

enum class LiteralRule : std::uint8_t { Float, Int, Bool, String };

// How a stateful reduction obtains its signals' PnL values.
struct PnlPlan {
    enum class Source : std::uint8_t { Zeros, Vectors, Columns };
    Source source = Source::Zeros;
    std::vector<double> fixed;       // Vectors: one value per signal, the same at every row
    std::vector<RowSource> matrices; // Columns: each signal's pnl matrix (null original when it has none)
    std::int64_t column = 0;         // Columns: position of the PnL column
};

// A reduction node's signals and PnL, fixed at its first row.
struct ReductionPlan {
    bool filtered = false;   // a filtration result chose the signals; its node fills the buffer
    std::int64_t count = 0;  // A, the number of signals reduced
    SignalRows signals;      // unfiltered: every useful signal, sorted by id
    bool stateful = false;
    PnlPlan pnl;
    ops::PnlWeightedReduction* native = nullptr;  // a native stateful instance, stepped without Python
    std::vector<double> pnl_values;                // native: the current row's PnL values, one per signal
};

// A filtration node's passing signals, resolved at its first row.
struct FiltrationPlan {
    bool absent = false;  // the path resolved to nothing
    SignalRows signals;
};

struct Instruction {
    OpKind kind = OpKind::Inert;
    std::int64_t reg = 0;
    nb::object path;  // node identity
    nb::object name;  // the node's "node" value: function name, feature name or literal

    // Feature leaf.
    std::size_t source = 0;  // index into Program::features
    bool data_nan = false;   // marked at seeding: the leaf reads as all NaN

    // Literal; converted on first execution so that a bad value fails at row 0.
    LiteralRule rule = LiteralRule::String;
    nb::object literal;
    bool ready = false;
    double value = 0.0;

    // Function nodes.
    nb::object instance;
    std::vector<std::int64_t> arg_regs;  // data children passed as row vectors
    bool pass_context = false;           // registry-created instances also get context=
    NanCheckNode nan_check;

    // Native operator instances are stepped on the registers, without Python.
    ops::RowOperator* native = nullptr;
    std::vector<const double*> native_inputs;  // the data children's register rows
    bool native_into_scratch = false;          // the node's register is also an input
    std::int64_t same_as = -1;                 // Repeat: register of the earlier node
    nb::object same_instance;                  // Repeat: the earlier node's instance

    // Reduction and filtration plans, built at the node's first row.
    nb::object reduction_record;
    std::unique_ptr<ReductionPlan> reduction;
    std::unique_ptr<FiltrationPlan> filtration;

    // Precomputed output: the mapped value, flattened on first execution.
    nb::object cid, precomputed, precomputed_row;
};

struct Program {
    std::vector<Instruction> code;      // one per node, in evaluation order
    std::vector<RowSource> features;    // feature matrices read by the leaves
    bool has_universe = false;
    RowSource universe;
    const double* inactive_of = nullptr;   // the universe row `inactive` lists
    std::vector<std::uint32_t> inactive;   // its inactive columns
    bool views = false;                 // arguments are register views (bound instances), else copies
    bool literal_rows_stay = false;     // no step runs Python, so literal rows are written once
    double* registers = nullptr;        // local_registers: row r at registers + r * n
    std::int64_t n = 0;
    std::int64_t root_reg = 0;
    std::vector<double*> node_outputs;  // by register: the node's (T, N) output matrix, when captured
    std::vector<double> scratch;        // one row, for native steps whose output register is an input
    nb::object context_kwnames;         // ("context",)
    nb::object signal_pnl_kwnames;      // ("signal_pnl",)

    double* row(std::int64_t reg) const { return registers + reg * n; }

    // Sets the cells of `values` outside the universe at row t to NaN, where
    // the universe row is readable from C++; false when it must be masked
    // through Python. The inactive columns are listed once per row, so each
    // node's row costs a store per inactive cell.
    bool mask_row(double* values, std::int64_t t);
};

// Compiles the prepared evaluation's nodes, in topo_order.
Program compile_program(GeneralEvaluation& ev);

}  // namespace qm
