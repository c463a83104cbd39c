#include "fast_paths/rolling_step_entry.hpp"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "fast_paths/rolling_names.hpp"
#include "fast_paths/rolling_step.hpp"
#include "host/arrays.hpp"
#include "host/errors.hpp"
#include "host/format.hpp"
#include "host/messages.hpp"
#include "host/numpy_api.hpp"
#include "host/pyutil.hpp"

namespace qm {

namespace {

struct Dtype {
    char kind;
    std::size_t itemsize;
    const char* name;
};

constexpr Dtype kFloat64{'f', sizeof(double), "float64"};
constexpr Dtype kInt64{'i', sizeof(std::int64_t), "int64"};
// numpy.longdouble is the platform's C long double.
constexpr Dtype kLongDouble{'f', sizeof(long double), "longdouble"};

std::string dims_text(const std::vector<std::int64_t>& dims) { return shape_text({dims.begin(), dims.end()}); }

// `obj` checked as state the kernel may write in place: an ndarray of `dtype`,
// C-contiguous, aligned, writeable and in native byte order.
void* state_buffer(nb::handle obj, const char* what, const Dtype& dtype) {
    if (!is_ndarray(obj)) raise_error(nb::handle(PyExc_TypeError), msg::rolling_step_array_type(what, type_name_of(obj)));
    auto* array = reinterpret_cast<PyArrayObject*>(obj.ptr());
    PyArray_Descr* descr = PyArray_DESCR(array);
    if (descr->kind != dtype.kind || static_cast<std::size_t>(PyArray_ITEMSIZE(array)) != dtype.itemsize) {
        std::string actual = text_of(nb::handle(reinterpret_cast<PyObject*>(descr)));
        raise_error(nb::handle(PyExc_TypeError), msg::rolling_step_dtype(what, dtype.name, actual));
    }
    if (!PyArray_ISCARRAY(array) || !PyArray_ISNOTSWAPPED(array)) {
        raise_error(nb::handle(PyExc_ValueError), msg::rolling_step_layout(what));
    }
    return PyArray_DATA(array);
}

void require_dims(nb::handle array, const char* what, const std::vector<std::int64_t>& expected) {
    std::vector<std::int64_t> dims = dims_of(array);
    if (dims != expected) {
        raise_error(nb::handle(PyExc_ValueError), msg::rolling_step_shape(what, dims_text(dims), dims_text(expected)));
    }
}

// A column state of N cells, checked as above.
template <typename T>
T* column_state(nb::handle obj, const char* what, const Dtype& dtype, std::int64_t cols) {
    void* data = state_buffer(obj, what, dtype);
    require_dims(obj, what, {cols});
    return static_cast<T*>(data);
}

}  // namespace

nb::object rolling_step_entry(nb::handle ring, nb::handle nan_in_window, nb::handle prefix_sum,
                              nb::handle prefix_sum_sq, nb::handle lagging_sum, nb::handle lagging_sum_sq,
                              nb::handle row, nb::handle count, nb::handle name) {
    std::optional<RollingStatistic> statistic = rolling_statistic_named(name);
    if (!statistic) raise_error(nb::handle(PyExc_ValueError), msg::rolling_statistic_name(repr_of(name)));
    Py_ssize_t number = index_value(count);
    if (number < 0) raise_error(nb::handle(PyExc_ValueError), msg::rolling_step_count(std::to_string(number)));

    auto* held = static_cast<double*>(state_buffer(ring, "ring", kFloat64));
    std::vector<std::int64_t> ring_dims = dims_of(ring);
    if (ring_dims.size() != 2 || ring_dims[0] < 1) {
        raise_error(nb::handle(PyExc_ValueError), msg::rolling_step_ring_shape(dims_text(ring_dims)));
    }
    const std::int64_t cols = ring_dims[1];
    RollingState state{held,
                       column_state<std::int64_t>(nan_in_window, "nan_in_window", kInt64, cols),
                       column_state<long double>(prefix_sum, "prefix_sum", kLongDouble, cols),
                       column_state<long double>(prefix_sum_sq, "prefix_sum_sq", kLongDouble, cols),
                       column_state<long double>(lagging_sum, "lagging_sum", kLongDouble, cols),
                       column_state<long double>(lagging_sum_sq, "lagging_sum_sq", kLongDouble, cols),
                       static_cast<std::size_t>(ring_dims[0]),
                       static_cast<std::size_t>(cols)};

    nb::object values = as_float64_contiguous(row);
    require_dims(values, "row", {cols});
    nb::object out = empty_float64({cols});
    const double* in = float64_data(values);
    double* result = float64_data(out);
    {
        nb::gil_scoped_release release;
        rolling_step(state, in, static_cast<std::size_t>(number), *statistic, result);
    }
    return out;
}

}  // namespace qm
