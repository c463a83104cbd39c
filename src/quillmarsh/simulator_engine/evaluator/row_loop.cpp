#include "evaluator/row_loop.hpp"

#include <cstring>

#include "evaluator/node_steps.hpp"
#include "evaluator/repeated_nodes.hpp"
#include "host/arrays.hpp"

namespace qm {

namespace {

void run_node(GeneralEvaluation& ev, Program& program, Instruction& ins, std::int64_t t) {
    switch (ins.kind) {
        case OpKind::Feature: return run_feature_leaf(ev, program, ins, t);
        case OpKind::Literal: return run_literal(program, ins);
        case OpKind::Filtration: return run_filtration(ev, ins, t);
        case OpKind::Reduction: return run_reduction(ev, program, ins, t);
        case OpKind::Rotation: return ins.native ? run_native(ev, program, ins, t) : run_rotation(ev, program, ins, t);
        case OpKind::Precomputed: return run_precomputed(program, ins, t);
        case OpKind::Repeat: return run_repeat(ev, program, ins);
        case OpKind::Inert: return;
    }
}

void capture_row(const Program& program, double* output, std::int64_t t) {
    const std::size_t bytes = static_cast<std::size_t>(program.n) * sizeof(double);
    std::memcpy(output + t * program.n, program.row(program.root_reg), bytes);
    for (std::size_t reg = 0; reg < program.node_outputs.size(); ++reg) {
        std::memcpy(program.node_outputs[reg] + t * program.n, program.row(static_cast<std::int64_t>(reg)), bytes);
    }
}

}  // namespace

void run_row_loop(GeneralEvaluation& ev, Program& program) {
    nb::str day_field("current_day_index");
    double* output = float64_data(ev.output_weights);
    for (std::int64_t t = 0; t < ev.T; ++t) {
        if (PyObject_SetAttr(ev.context.ptr(), day_field.ptr(), nb::int_(t).ptr()) != 0) throw nb::python_error();
        for (Instruction& ins : program.code) run_node(ev, program, ins, t);
        capture_row(program, output, t);
    }
}

}  // namespace qm
