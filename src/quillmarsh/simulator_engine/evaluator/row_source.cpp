#include "evaluator/row_source.hpp"

#include <cstring>

#include "host/arrays.hpp"

namespace qm {

namespace {

nb::object item_of(nb::handle container, nb::handle key) {
    PyObject* item = PyObject_GetItem(container.ptr(), key.ptr());
    if (!item) throw nb::python_error();
    return nb::steal(item);
}

}  // namespace

RowSource row_source(nb::handle original, std::int64_t cols) {
    RowSource source;
    source.original = nb::borrow(original);
    if (!is_ndarray(original) || ndim_of(original) != 2) return source;
    if (cols >= 0 && dim_of(original, 1) != cols) return source;
    try {
        source.matrix = as_float64_contiguous(original);
    } catch (nb::python_error& err) {
        if (!err.matches(PyExc_Exception)) throw;
        return source;  // not convertible as a whole: each read converts (or fails) on its own
    }
    source.data = float64_data(source.matrix);
    source.rows = dim_of(source.matrix, 0);
    source.cols = dim_of(source.matrix, 1);
    return source;
}

void copy_row(const RowSource& source, std::int64_t t, nb::handle target, std::int64_t target_row, double* dest,
              std::int64_t n) {
    if (const double* src = source.row(t)) {
        std::memcpy(dest, src, static_cast<std::size_t>(n) * sizeof(double));
        return;
    }
    nb::object row = item_of(source.original, nb::int_(t));
    if (PyObject_SetItem(target.ptr(), nb::int_(target_row).ptr(), row.ptr()) != 0) throw nb::python_error();
}

void prefetch_row(const RowSource& source, std::int64_t t) {
    constexpr std::int64_t kValuesPerLine = 64 / sizeof(double);
    const double* row = source.row(t);
    if (row == nullptr) return;
    for (std::int64_t i = 0; i < source.cols; i += kValuesPerLine) __builtin_prefetch(row + i);
}

double read_cell(const RowSource& source, std::int64_t t, std::int64_t col) {
    if (const double* src = source.row(t); src != nullptr && col < source.cols) return src[col];
    nb::object cell = item_of(source.original, nb::make_tuple(t, col));
    double value = PyFloat_AsDouble(cell.ptr());
    if (value == -1.0 && PyErr_Occurred()) throw nb::python_error();
    return value;
}

}  // namespace qm
