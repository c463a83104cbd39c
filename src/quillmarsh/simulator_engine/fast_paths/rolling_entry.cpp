#include "fast_paths/rolling_entry.hpp"

#include <limits>

#include "fast_paths/rolling.hpp"
#include "fast_paths/rolling_names.hpp"
#include "host/arrays.hpp"
#include "host/errors.hpp"
#include "host/format.hpp"
#include "host/messages.hpp"

namespace qm {

namespace {

// The window as an integer; one too large for 64 bits is longer than any
// matrix, so it is clamped (the result is all NaN either way).
long long window_length(nb::handle window) {
    nb::object index = nb::steal(PyNumber_Index(window.ptr()));
    if (!index.is_valid()) throw nb::python_error();
    int overflow = 0;
    long long length = PyLong_AsLongLongAndOverflow(index.ptr(), &overflow);
    if (overflow > 0) return std::numeric_limits<long long>::max();
    if (overflow < 0 || length < 1) raise_error(nb::handle(PyExc_ValueError), msg::window_too_small(text_of(index)));
    return length;
}

}  // namespace

nb::object rolling_longitudinal_fast(nb::handle data, nb::handle window, nb::handle name) {
    long long length = window_length(window);
    RollingStatistic statistic = rolling_statistic_named(name).value_or(RollingStatistic::ZScore);
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
