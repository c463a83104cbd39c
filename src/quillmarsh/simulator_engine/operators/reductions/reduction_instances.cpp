#include "operators/reductions/reduction_instances.hpp"

#include <algorithm>
#include <cstring>
#include <stdexcept>
#include <string>

#include "evaluator/column_mean.hpp"
#include "host/arrays.hpp"
#include "host/errors.hpp"
#include "host/format.hpp"
#include "host/host.hpp"
#include "host/messages.hpp"
#include "operators/operator_state.hpp"

using namespace nb::literals;

namespace qm::ops {

namespace {

[[noreturn]] void raise_value(const std::string& message) { raise_error(nb::handle(PyExc_ValueError), message); }

// The extraction as a C-contiguous float64 (signals, assets) matrix.
nb::object extraction_matrix(nb::handle extraction) {
    nb::object rows = as_float64_contiguous(extraction);
    if (ndim_of(rows) != 2) {
        const std::vector<std::int64_t> dims = dims_of(rows);
        raise_value(msg::reduction_extraction_not_matrix(shape_text({dims.begin(), dims.end()})));
    }
    return rows;
}

std::int64_t size_of(nb::handle array) {
    std::int64_t size = 1;
    for (std::int64_t dim : dims_of(array)) size *= dim;
    return size;
}

}  // namespace

std::int64_t validated_reduction_window(nb::handle window) {
    if (PyBool_Check(window.ptr())) {
        raise_error(nb::handle(PyExc_TypeError), msg::param_not_integer("window", repr_of(window)));
    }
    PyObject* index = PyNumber_Index(window.ptr());
    if (!index) {
        if (!PyErr_ExceptionMatches(PyExc_TypeError)) throw nb::python_error();
        PyErr_Clear();
        raise_error(nb::handle(PyExc_TypeError), msg::param_not_integer("window", repr_of(window)));
    }
    nb::object length = nb::steal(index);
    int overflow = 0;
    const long long value = PyLong_AsLongLongAndOverflow(index, &overflow);
    if (overflow < 0 || (overflow == 0 && value < 1)) raise_value(msg::reduction_window_below_one(text_of(length)));
    // Saturated like every window: the history never holds more rows than it was fed.
    return overflow > 0 ? kWindowLimit : std::min<std::int64_t>(value, kWindowLimit);
}

nb::object mean_reduction_call(nb::handle extraction) {
    nb::object rows = extraction_matrix(extraction);
    const std::int64_t n = dim_of(rows, 1);
    nb::object out = empty_float64({n});
    column_mean(float64_data(rows), dim_of(rows, 0), n, float64_data(out));
    return out;
}

PnlWeightedInstance::PnlWeightedInstance(nb::handle window, nb::object pnl_column)
    : reduction_(validated_reduction_window(window)), pnl_column_(std::move(pnl_column)) {}

nb::object PnlWeightedInstance::call(nb::handle extraction, nb::handle signal_pnl) {
    nb::object rows = extraction_matrix(extraction);
    nb::object pnl = as_float64_contiguous(signal_pnl);
    const std::int64_t n = dim_of(rows, 1);
    nb::object out = empty_float64({n});
    try {
        reduction_.step(float64_data(rows), dim_of(rows, 0), n, float64_data(pnl), size_of(pnl), float64_data(out));
    } catch (const std::invalid_argument& error) {
        raise_value(error.what());
    }
    return out;
}

nb::dict PnlWeightedInstance::get_state() const {
    const PnlHistory& history = reduction_.history();
    nb::object rows = empty_float64({history.kept(), history.signals()});
    const auto cells = static_cast<std::size_t>(history.kept() * history.signals());
    if (cells > 0) std::memcpy(float64_data(rows), history.rows(), cells * sizeof(double));
    nb::dict state;
    state["count"] = nb::int_(history.count());
    state["window"] = nb::int_(history.window());
    state["pnl_history"] = rows;
    return state;
}

void PnlWeightedInstance::set_state(nb::handle data) {
    const std::int64_t window = this->window();
    nb::object own_window = nb::int_(window);
    nb::object get = data.attr("get");
    nb::object saved_window = saturated_window(get("window", own_window));
    if (saved_window.not_equal(own_window)) {
        raise_value(msg::saved_state_window(text_of(saved_window), std::to_string(window)));
    }
    nb::object saved_rows = get("pnl_history", empty_float64({0, 0}));
    nb::object history = host().numpy.attr("array")(saved_rows, "dtype"_a = host().numpy.attr("float64"));
    const std::vector<std::int64_t> dims = dims_of(history);
    if (dims.size() != 2 || dims[0] > window) {
        raise_value(msg::reduction_history_shape(shape_text({dims.begin(), dims.end()}), window));
    }
    const std::int64_t count = saved_count_value(get("count", nb::int_(dims[0])));
    nb::object rows = as_float64_contiguous(history);
    reduction_.history().restore(float64_data(rows), dims[0], dims[1], count);
}

PnlWeightedReduction* native_reduction_of(nb::handle instance) {
    PnlWeightedInstance* native = nullptr;
    if (!nb::try_cast<PnlWeightedInstance*>(instance, native) || native == nullptr) return nullptr;
    return &native->reduction();
}

}  // namespace qm::ops
