#include "operators/reductions/numpy_matmul.hpp"

#include <cstring>

#include <nanobind/nanobind.h>

#include "host/host.hpp"
#include "host/numpy_api.hpp"

namespace nb = nanobind;

namespace qm::ops {

namespace {

double* data_of(const nb::object& array) {
    return static_cast<double*>(PyArray_DATA(reinterpret_cast<PyArrayObject*>(array.ptr())));
}

nb::object new_array(int ndim, npy_intp* dims) {
    PyObject* array = PyArray_SimpleNew(ndim, dims, NPY_DOUBLE);
    if (!array) throw nb::python_error();
    return nb::steal(array);
}

}  // namespace

void positive_weighted_sum(const double* weights, const double* rows, std::int64_t signals, std::int64_t n,
                           double* out) {
    npy_intp used = 0;
    for (std::int64_t k = 0; k < signals; ++k) used += weights[k] > 0.0;
    npy_intp weight_dims[1] = {used};
    npy_intp row_dims[2] = {used, static_cast<npy_intp>(n)};
    nb::object used_weights = new_array(1, weight_dims);
    nb::object used_rows = new_array(2, row_dims);
    double* weight_out = data_of(used_weights);
    double* row_out = data_of(used_rows);
    const auto row_bytes = static_cast<std::size_t>(n) * sizeof(double);
    for (std::int64_t k = 0; k < signals; ++k) {
        if (!(weights[k] > 0.0)) continue;
        *weight_out++ = weights[k];
        std::memcpy(row_out, rows + k * n, row_bytes);
        row_out += n;
    }
    PyObject* args[2] = {used_weights.ptr(), used_rows.ptr()};
    PyObject* product = PyObject_Vectorcall(host().matmul.ptr(), args, 2, nullptr);
    if (!product) throw nb::python_error();
    nb::object owned = nb::steal(product);
    if (n > 0) std::memcpy(out, data_of(owned), row_bytes);
}

}  // namespace qm::ops
