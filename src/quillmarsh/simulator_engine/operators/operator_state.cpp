#include "operators/operator_state.hpp"

#include <algorithm>
#include <cstring>
#include <string>

#include "host/errors.hpp"
#include "host/format.hpp"
#include "host/messages.hpp"
#include "host/numpy_api.hpp"

namespace qm::ops {

namespace {

[[noreturn]] void raise_value(const std::string& message) { raise_error(nb::handle(PyExc_ValueError), message); }

int typenum_of(StateDType dtype) {
    switch (dtype) {
        case StateDType::Float64: return NPY_DOUBLE;
        case StateDType::Int64: return NPY_INT64;
        case StateDType::LongDouble: return NPY_LONGDOUBLE;
    }
    return NPY_DOUBLE;
}

const char* dtype_name(StateDType dtype) {
    switch (dtype) {
        case StateDType::Float64: return "float64";
        case StateDType::Int64: return "int64";
        case StateDType::LongDouble: return "longdouble";
    }
    return "float64";
}

std::size_t cell_count(const StateField& field) {
    std::size_t cells = 1;
    for (std::int64_t dim : field.shape) cells *= static_cast<std::size_t>(dim);
    return cells;
}

nb::object copied_out(const StateField& field) {
    std::vector<npy_intp> dims(field.shape.begin(), field.shape.end());
    const int typenum = typenum_of(field.dtype);
    PyObject* array = PyArray_EMPTY(static_cast<int>(dims.size()), dims.data(), typenum, 0);
    if (!array) throw nb::python_error();
    nb::object owned = nb::steal(array);
    const std::size_t bytes = cell_count(field) * PyArray_ITEMSIZE(reinterpret_cast<PyArrayObject*>(array));
    if (bytes > 0) std::memcpy(PyArray_DATA(reinterpret_cast<PyArrayObject*>(array)), field.data, bytes);
    return owned;
}

nb::object saved_value(nb::handle data, const char* key) {
    PyObject* value = PyDict_GetItemString(data.ptr(), key);  // borrowed
    return value ? nb::borrow(value) : nb::object();
}

// The saved array for `field`, C-contiguous in the field's dtype.
nb::object checked_array(nb::handle value, const StateField& field) {
    PyObject* raw = PyArray_FROM_O(value.ptr());
    if (!raw) throw nb::python_error();
    nb::object array = nb::steal(raw);
    PyArrayObject* arr = reinterpret_cast<PyArrayObject*>(raw);
    PyArray_Descr* target = PyArray_DescrFromType(typenum_of(field.dtype));
    const bool castable = PyArray_CanCastTypeTo(PyArray_DESCR(arr), target, NPY_SAFE_CASTING);
    Py_DECREF(target);
    if (!castable) {
        nb::handle dtype(reinterpret_cast<PyObject*>(PyArray_DESCR(arr)));
        raise_value(msg::saved_state_dtype(field.name, text_of(dtype), dtype_name(field.dtype)));
    }
    std::vector<long long> got(PyArray_DIMS(arr), PyArray_DIMS(arr) + PyArray_NDIM(arr));
    std::vector<long long> expected(field.shape.begin(), field.shape.end());
    if (got != expected) {
        raise_value(msg::saved_state_shape(field.name, shape_text(got), shape_text(expected)));
    }
    const int requirements = NPY_ARRAY_CARRAY | NPY_ARRAY_FORCECAST;
    PyObject* converted = PyArray_FROMANY(raw, typenum_of(field.dtype), 0, 0, requirements);
    if (!converted) throw nb::python_error();
    return nb::steal(converted);
}

// Row width of the saved history: the last dimension of its first array.
std::int64_t saved_width(nb::handle value) {
    PyObject* raw = PyArray_FROM_O(value.ptr());
    if (!raw) throw nb::python_error();
    nb::object array = nb::steal(raw);
    PyArrayObject* arr = reinterpret_cast<PyArrayObject*>(raw);
    if (PyArray_NDIM(arr) == 0) raise_value(msg::saved_state_scalar());
    return PyArray_DIM(arr, PyArray_NDIM(arr) - 1);
}

void check_window(nb::handle data, const RowOperator& op) {
    nb::object saved = saved_value(data, "window");
    if (!saved.is_valid()) return;
    // Both sides saturate: delay's history is its window plus one row.
    nb::object window = saturated_window(nb::int_(op.window()));
    saved = saturated_window(saved);
    const int differs = PyObject_RichCompareBool(saved.ptr(), window.ptr(), Py_NE);
    if (differs < 0) throw nb::python_error();
    if (differs) {
        raise_value(msg::saved_state_window(text_of(saved), text_of(window)));
    }
}

std::int64_t saved_count(nb::handle data) {
    nb::object saved = saved_value(data, "count");
    return saved.is_valid() ? saved_count_value(saved) : 0;
}

}  // namespace

nb::object saturated_window(nb::object saved) {
    nb::object limit = nb::int_(kWindowLimit);
    if (!PyLong_Check(saved.ptr()) && !PyFloat_Check(saved.ptr())) return saved;
    const int beyond = PyObject_RichCompareBool(saved.ptr(), limit.ptr(), Py_GT);
    if (beyond < 0) throw nb::python_error();
    return beyond ? limit : saved;
}

std::int64_t saved_count_value(nb::handle saved) {
    PyObject* as_int = PyNumber_Long(saved.ptr());
    if (!as_int) throw nb::python_error();
    int overflow = 0;
    const long long count = PyLong_AsLongLongAndOverflow(as_int, &overflow);
    Py_DECREF(as_int);
    if (count == -1 && PyErr_Occurred()) throw nb::python_error();
    if (overflow < 0 || (overflow == 0 && count < 0)) raise_value(msg::saved_state_count(text_of(saved)));
    // Past the limit every window is full: the same history as at the limit.
    return overflow > 0 ? kWindowLimit : std::min<std::int64_t>(count, kWindowLimit);
}

nb::dict state_payload(RowOperator& op) {
    nb::dict payload;
    payload["count"] = nb::int_(op.count());
    payload["window"] = nb::int_(op.window());
    for (const StateField& field : op.state_fields()) payload[field.name] = copied_out(field);
    return payload;
}

std::unique_ptr<RowOperator> restored_operator(const OperatorSpec& declaration, const std::vector<double>& params,
                                               nb::handle data) {
    if (!PyDict_Check(data.ptr())) {
        raise_error(nb::handle(PyExc_TypeError), msg::saved_state_type(type_name_of(data)));
    }
    std::unique_ptr<RowOperator> op = declaration.make(params);
    check_window(data, *op);
    const std::int64_t count = saved_count(data);
    if (!op->stateful()) return op;

    // The field names, dtypes and ranks come from an operator of width 1.
    std::unique_ptr<RowOperator> probe = declaration.make(params);
    probe->restore(1, 0);
    std::vector<StateField> layout = probe->state_fields();
    nb::object first = layout.empty() ? nb::object() : saved_value(data, layout.front().name);
    if (!first.is_valid()) {
        if (count > 0 && !layout.empty()) {
            raise_value(msg::saved_state_without_history(count, layout.front().name));
        }
        return op;
    }
    op->restore(saved_width(first), count);
    std::vector<StateField> fields = op->state_fields();
    std::vector<nb::object> arrays;
    for (const StateField& field : fields) {
        nb::object value = saved_value(data, field.name);
        if (!value.is_valid()) raise_value(msg::saved_state_missing(field.name));
        arrays.push_back(checked_array(value, field));
    }
    for (std::size_t i = 0; i < fields.size(); ++i) {
        PyArrayObject* saved = reinterpret_cast<PyArrayObject*>(arrays[i].ptr());
        const std::size_t bytes = cell_count(fields[i]) * PyArray_ITEMSIZE(saved);
        if (bytes > 0) std::memcpy(fields[i].data, PyArray_DATA(saved), bytes);
    }
    return op;
}

}  // namespace qm::ops
