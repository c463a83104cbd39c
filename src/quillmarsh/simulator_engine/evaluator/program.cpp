#include "evaluator/program.hpp"

#include <map>

#include "evaluator/repeated_nodes.hpp"
#include "fast_paths/masking.hpp"
#include "graph/identities.hpp"
#include "host/arrays.hpp"
#include "operators/native_function.hpp"

namespace qm {

namespace {

std::int64_t reg_of(const GeneralEvaluation& ev, nb::handle path) { return nb::cast<std::int64_t>(ev.reg_map[path]); }

nb::object type_of(const GeneralEvaluation& ev, nb::handle path) { return ev.tables.node_info[path]["type"]; }

// Feature matrices converted once each, however many leaves read them.
class FeatureSources {
public:
    FeatureSources(const GeneralEvaluation& ev, Program& program)
        : features_(ev.context.attr("features")), program_(program), n_(ev.N) {}

    std::size_t index_of(nb::handle position) {
        nb::object matrix = features_[position];
        auto found = seen_.find(matrix.ptr());
        if (found != seen_.end()) return found->second;
        program_.features.push_back(row_source(matrix, n_));
        held_.push_back(matrix);
        return seen_[matrix.ptr()] = program_.features.size() - 1;
    }

private:
    nb::object features_;
    Program& program_;
    std::int64_t n_;
    std::map<PyObject*, std::size_t> seen_;
    std::vector<nb::object> held_;  // keeps the keys of seen_ alive
};

NanCheckNode nan_check_of(const GeneralEvaluation& ev, const Instruction& ins, nb::handle record) {
    NanCheckNode node{ins.reg, ins.path, {}};
    for (nb::handle child : record["children_paths"]) {
        if (!str_eq(type_of(ev, child), "filtration")) node.child_regs.push_back(reg_of(ev, child));
    }
    return node;
}

// Data children of a function node. String and bool children, and the
// configuration children of registry-created instances, reach the instance
// through its configuration; int children are data only for bound instances.
std::vector<std::int64_t> argument_registers(const GeneralEvaluation& ev, const Program& program,
                                             const Instruction& ins, nb::handle record) {
    nb::object config_children = contains(record, nb::str("config_child_paths")) ? nb::object(record["config_child_paths"])
                                                                        : nb::object(nb::set());
    bool include_config = ev.tables.bound_paths.contains(ins.path) && !has_attr(ins.instance, "arity");
    std::vector<std::int64_t> regs;
    for (nb::handle child : record["children_paths"]) {
        nb::object ctype = type_of(ev, child);
        if (!include_config && contains(config_children, child)) continue;
        if (str_eq(ctype, "string") || str_eq(ctype, "bool")) continue;
        if (str_eq(ctype, "int") && !program.views) continue;
        regs.push_back(reg_of(ev, child));
    }
    return regs;
}

void compile_literal(Instruction& ins, const GeneralEvaluation& ev, nb::handle ntype) {
    ins.kind = OpKind::Literal;
    if (str_eq(ntype, "float")) {
        ins.rule = LiteralRule::Float;
        ins.literal = ev.tables.float_values[ins.path];
    } else if (str_eq(ntype, "int")) {
        ins.rule = LiteralRule::Int;
        ins.literal = ins.name;
    } else if (str_eq(ntype, "bool")) {
        ins.rule = LiteralRule::Bool;
        ins.literal = ins.name;
    } else {
        ins.rule = LiteralRule::String;
    }
}

// A native instance whose data children match its inputs is stepped directly;
// any other count goes through the Python call, which reports it.
void compile_native(Instruction& ins, const Program& program) {
    ops::RowOperator* native = ops::native_operator_of(ins.instance);
    if (native == nullptr || ops::native_arity_of(ins.instance) != ins.arg_regs.size()) return;
    ins.native = native;
    for (std::int64_t reg : ins.arg_regs) {
        ins.native_inputs.push_back(program.row(reg));
        ins.native_into_scratch = ins.native_into_scratch || reg == ins.reg;
    }
}

void compile_function(Instruction& ins, const GeneralEvaluation& ev, const Program& program, nb::handle ntype,
                      nb::handle record) {
    ins.instance = ev.tables.func_instances[ins.path];
    ins.nan_check = nan_check_of(ev, ins, record);
    if (str_eq(ntype, "reduction")) {
        ins.kind = OpKind::Reduction;
        ins.reduction_record = ev.tables.reduction_nodes[ins.path];
        return;
    }
    ins.kind = OpKind::Rotation;
    ins.arg_regs = argument_registers(ev, program, ins, record);
    ins.pass_context = !ev.tables.bound_paths.contains(ins.path);
    compile_native(ins, program);
}

Instruction compile_node(GeneralEvaluation& ev, Program& program, FeatureSources& sources, nb::handle path) {
    Instruction ins;
    nb::object record = ev.tables.node_info[path];
    nb::object ntype = record["type"];
    ins.path = nb::borrow(path);
    ins.reg = reg_of(ev, path);
    ins.name = record["node"];
    nb::object cid = record["canonical_id"];
    if (!cid.is_none() && contains(ev.precomputed_node_outputs, cid)) {
        ins.kind = OpKind::Precomputed;
        ins.cid = cid;
        ins.precomputed = ev.precomputed_node_outputs[cid];
    } else if (is_feature_leaf_type(ntype)) {
        ins.kind = OpKind::Feature;
        ins.source = sources.index_of(ev.tables.feature_refs[path]);
        ins.data_nan = ev.provenance.is_marked(ins.reg);
    } else if (str_eq(ntype, "float") || str_eq(ntype, "int") || str_eq(ntype, "bool") || str_eq(ntype, "string")) {
        compile_literal(ins, ev, ntype);
    } else if (str_eq(ntype, "filtration")) {
        ins.kind = OpKind::Filtration;
    } else if (is_function_node_type(ntype)) {
        compile_function(ins, ev, program, ntype, record);
    }
    return ins;
}

void bind_universe(const GeneralEvaluation& ev, Program& program) {
    nb::object universe = getattr_or_none(ev.context, "universe");
    program.has_universe = !universe.is_none();
    if (program.has_universe && !program.features.empty()) program.universe = row_source(universe, ev.N);
}

void bind_node_outputs(const GeneralEvaluation& ev, Program& program) {
    if (ev.node_outputs.is_none()) return;
    for (auto [path, record] : ev.tables.node_info) program.node_outputs.push_back(float64_data(ev.node_outputs[path]));
}

// True when every step runs in C++ alone: native operators on registers and
// leaves read from C++ arrays. Then nothing but its own step writes a
// literal's register, and the row written at t = 0 holds for every row.
bool only_native_steps(const Program& program) {
    for (const Instruction& ins : program.code) {
        const bool native_step = ins.kind == OpKind::Feature || ins.kind == OpKind::Literal ||
                                 ins.kind == OpKind::Inert || (ins.kind == OpKind::Rotation && ins.native != nullptr);
        if (!native_step) return false;
    }
    for (const RowSource& feature : program.features) {
        if (feature.data == nullptr) return false;
    }
    return !program.has_universe || program.universe.data != nullptr;
}

}  // namespace

Program compile_program(GeneralEvaluation& ev) {
    Program program;
    program.n = ev.N;
    program.registers = float64_data(ev.local_registers);
    program.views = !is_none_or_empty(ev.tables.bound_instances);
    program.context_kwnames = nb::make_tuple("context");
    program.signal_pnl_kwnames = nb::make_tuple("signal_pnl");
    program.scratch.resize(static_cast<std::size_t>(ev.N));
    FeatureSources sources(ev, program);
    for (nb::handle path : ev.tables.topo_order) program.code.push_back(compile_node(ev, program, sources, path));
    program.root_reg = reg_of(ev, nb::str("root"));
    bind_universe(ev, program);
    bind_node_outputs(ev, program);
    program.literal_rows_stay = only_native_steps(program);
    share_repeated_nodes(ev, program);
    return program;
}

bool Program::mask_row(double* values, std::int64_t t) {
    const double* universe_row = universe.row(t);
    if (universe_row == nullptr) return false;
    if (universe_row != inactive_of) {
        inactive_columns(universe_row, static_cast<std::size_t>(n), inactive);
        inactive_of = universe_row;
        prefetch_row(universe, t + 1);
    }
    blank_columns(values, inactive);
    return true;
}

}  // namespace qm
