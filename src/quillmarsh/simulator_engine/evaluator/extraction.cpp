#include "evaluator/extraction.hpp"

#include "host/arrays.hpp"

namespace qm {

SignalRows signal_rows(nb::handle useful_signals, nb::handle signal_ids, std::int64_t n_alloc) {
    SignalRows rows;
    for (nb::handle id : signal_ids) {
        rows.weights.push_back(row_source(useful_signals[id].attr("weights"), n_alloc));
    }
    return rows;
}

nb::list sorted_signal_ids(nb::handle useful_signals) {
    if (useful_signals.is_none()) return nb::list();
    PyObject* keys = PyMapping_Keys(useful_signals.ptr());
    if (!keys) throw nb::python_error();
    nb::list ids = nb::steal<nb::list>(keys);
    if (PyList_Sort(ids.ptr()) != 0) throw nb::python_error();
    return ids;
}

void fill_extraction_buffer(GeneralEvaluation& ev, const SignalRows& rows, std::int64_t t) {
    const auto count = static_cast<std::int64_t>(rows.weights.size());
    if (ev.local_extraction_buffer.is_none() || dim_of(ev.local_extraction_buffer, 0) != count) {
        ev.local_extraction_buffer = zeros_float64({count, ev.N});
    }
    double* data = float64_data(ev.local_extraction_buffer);
    for (std::int64_t k = 0; k < count; ++k) {
        copy_row(rows.weights[static_cast<std::size_t>(k)], t, ev.local_extraction_buffer, k, data + k * ev.N, ev.N);
    }
}

}  // namespace qm
