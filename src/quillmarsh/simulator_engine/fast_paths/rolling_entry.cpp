#include "fast_paths/rolling_entry.hpp"

#include "fast_paths/longitudinal_names.hpp"
#include "fast_paths/rolling.hpp"
#include "host/arrays.hpp"
#include "host/errors.hpp"
#include "host/format.hpp"
#include "host/messages.hpp"
#include "host/pyutil.hpp"

namespace qm {

namespace {

RollingStatistic statistic_for(nb::handle name) {
    if (str_eq(name, kRollingMeanName)) return RollingStatistic::Mean;
    if (str_eq(name, kRollingStdName)) return RollingStatistic::Std;
    return RollingStatistic::ZScore;
}

long long window_length(nb::handle window) {
    PyObject* index = PyNumber_Index(window.ptr());
    if (!index) throw nb::python_error();
    long long length = PyLong_AsLongLong(index);
    Py_DECREF(index);
    if (length == -1 && PyErr_Occurred()) throw nb::python_error();
    if (length < 1) raise_error(nb::handle(PyExc_ValueError), msg::window_too_small(length));
    return length;
}

}  // namespace

nb::object rolling_longitudinal_fast(nb::handle data, nb::handle window, nb::handle name) {
    long long length = window_length(window);
    RollingStatistic statistic = statistic_for(name);
    nb::object matrix = as_float64_contiguous(data);
    std::vector<std::int64_t> dims = dims_of(matrix);
    if (dims.size() != 2) {
        raise_error(nb::handle(PyExc_ValueError), msg::kernel_matrix_ndim("rolling", shape_text({dims.begin(), dims.end()})));
    }
    nb::object out = empty_float64(dims);
    const double* in = float64_data(matrix);
    double* result = float64_data(out);
    {
        nb::gil_scoped_release release;
        rolling_statistic(in, static_cast<std::size_t>(dims[0]), static_cast<std::size_t>(dims[1]),
                          static_cast<std::size_t>(length), statistic, result);
    }
    return out;
}

}  // namespace qm
