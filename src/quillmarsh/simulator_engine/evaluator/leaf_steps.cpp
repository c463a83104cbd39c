// Leaves of the per-row loop: feature rows through the universe mask, literal
// rows and precomputed rows.
#include <algorithm>
#include <cmath>
#include <cstring>

#include "evaluator/node_steps.hpp"
#include "evaluator/row_arrays.hpp"
#include "fast_paths/universe_mask.hpp"
#include "host/arrays.hpp"
#include "host/errors.hpp"
#include "host/format.hpp"
#include "host/host.hpp"
#include "host/messages.hpp"

namespace qm {

namespace {

// The masking rule applied through Python, for a universe that cannot be read
// row by row from C++ (it then broadcasts or fails as NumPy decides).
void mask_through_python(GeneralEvaluation& ev, const Program& program, const Instruction& ins, std::int64_t t) {
    nb::object row = nb::steal(new_row_copy(program.row(ins.reg), program.n));
    if (!row.is_valid()) throw nb::python_error();
    nb::object universe_row = program.universe.original[nb::int_(t)];
    nb::object masked = apply_universe_mask(row, universe_row);
    if (PyObject_SetItem(ev.local_registers.ptr(), nb::int_(ins.reg).ptr(), masked.ptr()) != 0) {
        throw nb::python_error();
    }
}

double literal_value(const Instruction& ins) {
    switch (ins.rule) {
        case LiteralRule::Float:
        case LiteralRule::Int: {
            nb::object value = nb::steal(PyNumber_Float(ins.literal.ptr()));
            if (!value.is_valid()) throw nb::python_error();
            return PyFloat_AS_DOUBLE(value.ptr());
        }
        case LiteralRule::Bool:
            return truthy(ins.literal) ? 1.0 : 0.0;
        case LiteralRule::String:
            break;
    }
    return 0.0;
}

}  // namespace

void run_feature_leaf(GeneralEvaluation& ev, Program& program, Instruction& ins, std::int64_t t) {
    double* reg = program.row(ins.reg);
    const std::int64_t n = program.n;
    if (ins.data_nan) {
        std::fill(reg, reg + n, NAN);
    } else {
        copy_row(program.features[ins.source], t, ev.local_registers, ins.reg, reg, n);
        prefetch_row(program.features[ins.source], t + 1);
    }
    if (program.has_universe && !program.mask_row(reg, t)) mask_through_python(ev, program, ins, t);
}

void run_literal(Program& program, Instruction& ins) {
    if (ins.ready && program.literal_rows_stay) return;
    if (!ins.ready) {
        ins.value = literal_value(ins);
        ins.ready = true;
    }
    double* reg = program.row(ins.reg);
    std::fill(reg, reg + program.n, ins.value);
}

void run_precomputed(Program& program, Instruction& ins, std::int64_t t) {
    if (!ins.precomputed_row.is_valid()) {
        nb::object flat = as_float64_contiguous(as_float64(ins.precomputed).attr("ravel")());
        std::int64_t size = dim_of(flat, 0);
        if (size != program.n) {
            raise_error(host().EvaluationShapeError,
                        msg::precomputed_shape(text_of(ins.cid), shape_text({size}), program.n, t));
        }
        ins.precomputed_row = flat;
    }
    std::memcpy(program.row(ins.reg), float64_data(ins.precomputed_row),
                static_cast<std::size_t>(program.n) * sizeof(double));
}

}  // namespace qm
