#include "host/arrays.hpp"

#include <algorithm>

#include "host/numpy_api.hpp"

namespace qm {

namespace {

PyArrayObject* arr(nb::handle h) { return reinterpret_cast<PyArrayObject*>(h.ptr()); }

nb::object from_any(nb::handle obj, int requirements) {
    PyObject* out = PyArray_FROMANY(obj.ptr(), NPY_DOUBLE, 0, 0, requirements);
    if (!out) throw nb::python_error();
    return nb::steal(out);
}

nb::object new_array(const std::vector<std::int64_t>& dims, int typenum, bool zeroed) {
    std::vector<npy_intp> shape(dims.begin(), dims.end());
    PyObject* out = zeroed ? PyArray_ZEROS(static_cast<int>(shape.size()), shape.data(), typenum, 0)
                           : PyArray_EMPTY(static_cast<int>(shape.size()), shape.data(), typenum, 0);
    if (!out) throw nb::python_error();
    return nb::steal(out);
}

}  // namespace

nb::object as_float64(nb::handle obj) { return from_any(obj, 0); }

nb::object as_float64_contiguous(nb::handle obj) { return from_any(obj, NPY_ARRAY_CARRAY); }

nb::object empty_float64(const std::vector<std::int64_t>& dims) { return new_array(dims, NPY_DOUBLE, false); }

nb::object zeros_float64(const std::vector<std::int64_t>& dims) { return new_array(dims, NPY_DOUBLE, true); }

nb::object full_float64(const std::vector<std::int64_t>& dims, double value) {
    nb::object out = empty_float64(dims);
    double* data = float64_data(out);
    std::fill(data, data + PyArray_SIZE(arr(out)), value);
    return out;
}

nb::object empty_uint8(const std::vector<std::int64_t>& dims) { return new_array(dims, NPY_UINT8, false); }

bool is_ndarray(nb::handle obj) { return PyArray_Check(obj.ptr()); }

int ndim_of(nb::handle a) { return PyArray_NDIM(arr(a)); }

std::int64_t dim_of(nb::handle a, int axis) { return PyArray_DIM(arr(a), axis); }

std::vector<std::int64_t> dims_of(nb::handle a) {
    std::vector<std::int64_t> out(PyArray_NDIM(arr(a)));
    for (int i = 0; i < PyArray_NDIM(arr(a)); ++i) out[i] = PyArray_DIM(arr(a), i);
    return out;
}

double* float64_data(nb::handle a) { return static_cast<double*>(PyArray_DATA(arr(a))); }

std::uint8_t* uint8_data(nb::handle a) { return static_cast<std::uint8_t*>(PyArray_DATA(arr(a))); }

bool is_float64(nb::handle a) { return PyArray_Check(a.ptr()) && PyArray_TYPE(arr(a)) == NPY_DOUBLE; }

}  // namespace qm
