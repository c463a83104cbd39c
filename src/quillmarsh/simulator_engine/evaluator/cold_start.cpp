// Cold start: a restored stateful reduction whose saved window is not yet full
// is replayed the last rows of the current data before row 0 is evaluated,
// so that it starts the evaluation with a full window. The saved "count" and
// "window" are read with int(), as warm-up accounting reads the count, and
// compared as exact integers.
#include "evaluator/extraction.hpp"
#include "evaluator/preparation.hpp"
#include "host/arrays.hpp"
#include "host/pyutil.hpp"
#include "warmup/warmup.hpp"

using namespace nb::literals;

namespace qm {

namespace {

// int() of the saved "window" (the instance's own window when the payload has
// none); None when it is not a number, and the instance is then not topped up.
nb::object saved_window(nb::handle payload, nb::handle instance) {
    nb::object window = has_attr(payload, "get") && contains(payload, nb::str("window")) ? nb::object(payload["window"])
                                                                                       : instance.attr("window");
    try {
        return nb::int_(window);
    } catch (nb::python_error& err) {
        if (err.matches(PyExc_TypeError) || err.matches(PyExc_ValueError)) return nb::none();
        throw;
    }
}

// The PnL column read during the replay: the configured one, else "gross_returns";
// a present but empty value stays empty.
std::int64_t replay_column(nb::handle context, nb::handle config) {
    nb::object column = contains(config, nb::str("pnl_column")) ? nb::object(config["pnl_column"]) : nb::str("gross_returns");
    nb::object labels = getattr_or_none(context, "column_labels");
    if (!truthy(column) || is_none_or_empty(labels)) return 0;
    Py_ssize_t position = PySequence_Index(labels.ptr(), column.ptr());
    if (position >= 0) return position;
    if (!PyErr_ExceptionMatches(PyExc_ValueError)) throw nb::python_error();
    PyErr_Clear();
    return 0;
}

nb::object replay_signal_ids(GeneralEvaluation& ev, nb::handle record) {
    nb::object filt_path = record["filtration_path"];
    nb::object result = truthy(filt_path) ? resolve_filt(ev.filtration, filt_path) : nb::none();
    if (result.is_none()) return sorted_signal_ids(getattr_or_none(ev.context, "useful_signals"));
    return result.attr("passing_ids");
}

void replay_row(GeneralEvaluation& ev, nb::handle instance, nb::handle ids, std::int64_t column, std::int64_t t) {
    nb::object signals = getattr_or_none(ev.context, "useful_signals");
    const auto count = static_cast<std::int64_t>(length_of(ids));
    nb::object pnl_values = zeros_float64({count});
    nb::object extraction = zeros_float64({count, ev.N});
    std::int64_t k = 0;
    for (nb::handle id : ids) {
        if (!signals.is_none() && contains(signals, id)) {
            nb::object pnl = signals[id].attr("pnl");
            if (!pnl.is_none()) pnl_values[nb::int_(k)] = pnl[nb::make_tuple(t, column)];
        }
        extraction[nb::int_(k)] = signals[id].attr("weights")[nb::int_(t)];
        ++k;
    }
    instance(extraction, "signal_pnl"_a = pnl_values);
}

void replay_tail(GeneralEvaluation& ev, nb::handle path, nb::handle instance, nb::handle rows_needed) {
    nb::object record = ev.tables.reduction_nodes[path];
    std::int64_t column = replay_column(ev.context, record["config"]);
    nb::object ids = replay_signal_ids(ev, record);
    const std::int64_t tail_start = rows_within(nb::int_(ev.T) - nb::borrow(rows_needed), ev.T);
    for (std::int64_t t = tail_start; t < ev.T; ++t) replay_row(ev, instance, ids, column, t);
}

}  // namespace

void prefill_cold_start(GeneralEvaluation& ev) {
    nb::handle function_states = ev.options.function_states;
    for (auto [path, instance] : ev.tables.func_instances) {
        if (!is_stateful(instance) || !str_eq(ev.tables.node_info[path]["type"], "reduction")) continue;
        nb::object key = state_key_of(ev.tables, path);
        if (!contains(function_states, key)) continue;
        nb::object payload = function_states[key].attr("data");
        if (is_none_or_empty(payload)) continue;
        nb::object count = saved_count(payload);
        nb::object window = saved_window(payload, instance);
        if (window.is_none() || !compare(count, window, Py_LT)) continue;
        replay_tail(ev, path, instance, window - count);
    }
}

}  // namespace qm
