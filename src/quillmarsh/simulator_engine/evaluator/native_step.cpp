// Function nodes of native instances: the row operator reads the children's
// registers and writes the node's register, with no Python object per row.
// Their output rows pass the universe mask like feature rows do, so an asset
// outside the universe reads as NaN at every native node: a comparison, a
// logical operator or a constant never gives it a value, a weight or a rank.
// Everything the Python call path guarantees holds: data-NaN provenance, and
// a failure surfaces as FunctionExecutionError naming the node and row, with
// the operator's ValueError as its cause.
#include <algorithm>
#include <cmath>
#include <cstring>
#include <exception>
#include <new>
#include <stdexcept>

#include "evaluator/node_steps.hpp"
#include "host/errors.hpp"
#include "host/format.hpp"
#include "host/host.hpp"
#include "host/messages.hpp"
#include "operators/native_function.hpp"

namespace qm {

void raise_native_failure(const Instruction& ins, std::int64_t t, PyObject* type, const char* what) {
    PyErr_SetString(type, what);
    nb::python_error cause;
    raise_error_from(host().FunctionExecutionError, msg::function_failed(text_of(ins.name), t, what), cause);
}

void run_native(GeneralEvaluation& ev, Program& program, Instruction& ins, std::int64_t t) {
    double* reg = program.row(ins.reg);
    double* out = ins.native_into_scratch ? program.scratch.data() : reg;
    if (!ops::fits_row_width(*ins.native, program.n)) {
        raise_native_failure(ins, t, PyExc_ValueError, ops::row_width_mismatch(*ins.native, program.n).c_str());
    }
    try {
        ins.native->step(ins.native_inputs.data(), out, program.n);
    } catch (const std::invalid_argument& error) {
        raise_native_failure(ins, t, PyExc_ValueError, error.what());
    } catch (const std::bad_alloc&) {
        raise_native_failure(ins, t, PyExc_MemoryError, "out of memory");
    } catch (const std::exception& error) {
        raise_native_failure(ins, t, PyExc_RuntimeError, error.what());
    }
    if (program.has_universe) program.mask_row(out, t);
    if (ev.provenance.propagate_data_nan(ins.nan_check, program.registers, program.n)) {
        std::fill(reg, reg + program.n, NAN);
        return;
    }
    if (out != reg) std::memcpy(reg, out, static_cast<std::size_t>(program.n) * sizeof(double));
}

}  // namespace qm
