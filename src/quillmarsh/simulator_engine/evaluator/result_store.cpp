// The checks every function and reduction result passes before it is stored:
// an array must have shape (N_alloc,) and dtype float64; a plain number is
// repeated across the row; a sequence of numbers is assigned as NumPy assigns
// it; anything else (None, text, mappings) is rejected with a typed error.
#include <algorithm>
#include <cmath>
#include <cstring>

#include "evaluator/node_steps.hpp"
#include "host/errors.hpp"
#include "host/format.hpp"
#include "host/host.hpp"
#include "host/messages.hpp"
#include "host/numpy_api.hpp"

namespace qm {

namespace {

void store_array(const Program& program, const Instruction& ins, PyArrayObject* array, std::int64_t t) {
    const std::int64_t n = program.n;
    if (PyArray_NDIM(array) != 1 || PyArray_DIM(array, 0) != n) {
        std::vector<long long> dims(PyArray_DIMS(array), PyArray_DIMS(array) + PyArray_NDIM(array));
        raise_error(host().EvaluationShapeError, msg::function_result_shape(text_of(ins.name), shape_text(dims), n, t));
    }
    if (PyArray_TYPE(array) != NPY_DOUBLE || !PyArray_ISNOTSWAPPED(array)) {
        nb::handle dtype(reinterpret_cast<PyObject*>(PyArray_DESCR(array)));
        raise_error(host().EvaluationShapeError, msg::function_result_dtype(text_of(ins.name), text_of(dtype), t));
    }
    double* reg = program.row(ins.reg);
    const char* src = static_cast<const char*>(PyArray_DATA(array));
    const npy_intp stride = PyArray_STRIDE(array, 0);
    if (stride == static_cast<npy_intp>(sizeof(double))) {
        std::memmove(reg, src, static_cast<std::size_t>(n) * sizeof(double));
        return;
    }
    for (std::int64_t i = 0; i < n; ++i) std::memcpy(reg + i, src + i * stride, sizeof(double));
}

}  // namespace

void store_function_result(GeneralEvaluation& ev, Program& program, const Instruction& ins, nb::handle result,
                           std::int64_t t) {
    double* reg = program.row(ins.reg);
    if (ev.provenance.propagate_data_nan(ins.nan_check, program.registers, program.n)) {
        std::fill(reg, reg + program.n, NAN);
        return;
    }
    PyObject* obj = result.ptr();
    if (PyFloat_Check(obj)) {
        std::fill(reg, reg + program.n, PyFloat_AS_DOUBLE(obj));
    } else if (PyArray_Check(obj)) {
        store_array(program, ins, reinterpret_cast<PyArrayObject*>(obj), t);
    } else if (PyNumber_Check(obj) || PyList_Check(obj) || PyTuple_Check(obj)) {
        if (PyObject_SetItem(ev.local_registers.ptr(), nb::int_(ins.reg).ptr(), obj) != 0) {
            nb::python_error err;
            raise_error_from(host().EvaluationShapeError,
                             msg::function_result_unusable(text_of(ins.name), type_name_of(result), program.n, t), err);
        }
    } else {
        raise_error(host().EvaluationShapeError,
                    msg::function_result_unusable(text_of(ins.name), type_name_of(result), program.n, t));
    }
}

}  // namespace qm
