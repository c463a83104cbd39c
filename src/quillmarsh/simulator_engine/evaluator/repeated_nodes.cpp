#include "evaluator/repeated_nodes.hpp"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <map>
#include <string>

#include "host/format.hpp"
#include "host/pyutil.hpp"
#include "operators/native_function.hpp"

namespace qm {

namespace {

void append_bits(std::string& key, const void* data, std::size_t size) {
    key.append(static_cast<const char*>(data), size);
}

// What decides a node's row: for a feature leaf the feature and its data-NaN
// mark, for a literal its rule and text, for a native function node the
// operator, its parameters (bit for bit) and the classes of its inputs.
// Empty for a node that is never shared.
std::string row_key(const Instruction& ins, const std::vector<std::int64_t>& class_of_reg) {
    std::string key(1, static_cast<char>(ins.kind));
    switch (ins.kind) {
        case OpKind::Feature:
            append_bits(key, &ins.source, sizeof ins.source);
            key.push_back(ins.data_nan ? 1 : 0);
            return key;
        case OpKind::Literal: {
            // A literal whose text cannot be had is never shared; its value is checked when it runs.
            PyObject* text = PyObject_Repr(ins.literal.is_valid() ? ins.literal.ptr() : Py_None);
            if (text == nullptr) {
                PyErr_Clear();
                return {};
            }
            key.push_back(static_cast<char>(ins.rule));
            key += text_of(nb::steal(text));
            return key;
        }
        case OpKind::Rotation: {
            const ops::NativeFunction* native = ops::native_function_of(ins.instance);
            // A stateful instance that has already consumed rows (a caller's bound instance) keeps
            // its own history, so only fresh instances can stand for each other.
            if (ins.native == nullptr || native == nullptr || ins.native->count() != 0) return {};
            const ops::OperatorSpec* declaration = &native->declaration();
            append_bits(key, &declaration, sizeof declaration);
            for (double param : native->params()) append_bits(key, &param, sizeof param);
            key.push_back('|');
            for (std::int64_t reg : ins.arg_regs) {
                append_bits(key, &class_of_reg[static_cast<std::size_t>(reg)], sizeof(std::int64_t));
            }
            return key;
        }
        default:
            return {};
    }
}

}  // namespace

void share_repeated_nodes(const GeneralEvaluation& ev, Program& program) {
    if (!program.literal_rows_stay || !ev.options.function_states.is_none()) return;
    std::int64_t registers = 0;
    for (const Instruction& ins : program.code) registers = std::max(registers, ins.reg + 1);
    std::vector<std::int64_t> class_of_reg(static_cast<std::size_t>(registers), -1);  // same class: same rows
    std::int64_t classes = 0;
    std::map<std::string, const Instruction*> first_of_key;
    for (Instruction& ins : program.code) {
        const std::string key = row_key(ins, class_of_reg);
        if (key.empty()) {
            class_of_reg[static_cast<std::size_t>(ins.reg)] = classes++;
            continue;
        }
        auto [found, inserted] = first_of_key.emplace(key, &ins);
        if (inserted) {
            class_of_reg[static_cast<std::size_t>(ins.reg)] = classes++;
            continue;
        }
        const Instruction& first = *found->second;
        if (ins.kind == OpKind::Rotation && ins.instance.ptr() == first.instance.ptr()) {
            // One instance bound to both nodes is stepped twice a row: nothing to share.
            class_of_reg[static_cast<std::size_t>(ins.reg)] = classes++;
            continue;
        }
        class_of_reg[static_cast<std::size_t>(ins.reg)] = class_of_reg[static_cast<std::size_t>(first.reg)];
        if (ins.kind != OpKind::Rotation) continue;  // leaves are cheaper to write than to copy
        ins.kind = OpKind::Repeat;
        ins.same_as = first.reg;
        ins.same_instance = first.instance;
    }
}

void run_repeat(GeneralEvaluation& ev, Program& program, const Instruction& ins) {
    double* reg = program.row(ins.reg);
    std::memcpy(reg, program.row(ins.same_as), static_cast<std::size_t>(program.n) * sizeof(double));
    if (ev.provenance.propagate_data_nan(ins.nan_check, program.registers, program.n)) {
        std::fill(reg, reg + program.n, NAN);
    }
}

void copy_repeated_states(const Program& program) {
    for (const Instruction& ins : program.code) {
        if (ins.kind != OpKind::Repeat || !ins.native->stateful()) continue;
        ins.instance.attr("set_state")(ins.same_instance.attr("get_state")());
    }
}

}  // namespace qm
