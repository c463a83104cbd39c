#include "evaluator/row_arrays.hpp"

#include <cstring>

#include "host/numpy_api.hpp"

namespace qm {

namespace {

PyObject* new_view(PyObject* base, double* data, int ndim, npy_intp* dims) {
    PyObject* view = PyArray_NewFromDescr(&PyArray_Type, PyArray_DescrFromType(NPY_DOUBLE), ndim, dims, nullptr,
                                          data, NPY_ARRAY_CARRAY, nullptr);
    if (!view) return nullptr;
    Py_INCREF(base);
    if (PyArray_SetBaseObject(reinterpret_cast<PyArrayObject*>(view), base) < 0) {
        Py_DECREF(view);
        return nullptr;
    }
    return view;
}

}  // namespace

PyObject* new_row_view(PyObject* base, double* data, std::int64_t n) {
    npy_intp dims[1] = {static_cast<npy_intp>(n)};
    return new_view(base, data, 1, dims);
}

PyObject* new_row_copy(const double* data, std::int64_t n) {
    npy_intp dims[1] = {static_cast<npy_intp>(n)};
    PyObject* copy = PyArray_SimpleNew(1, dims, NPY_DOUBLE);
    if (!copy) return nullptr;
    std::memcpy(PyArray_DATA(reinterpret_cast<PyArrayObject*>(copy)), data, static_cast<std::size_t>(n) * sizeof(double));
    return copy;
}

nb::object leading_rows_view(nb::handle base, std::int64_t rows, std::int64_t n) {
    npy_intp dims[2] = {static_cast<npy_intp>(rows), static_cast<npy_intp>(n)};
    double* data = static_cast<double*>(PyArray_DATA(reinterpret_cast<PyArrayObject*>(base.ptr())));
    PyObject* view = new_view(base.ptr(), data, 2, dims);
    if (!view) throw nb::python_error();
    return nb::steal(view);
}

}  // namespace qm
