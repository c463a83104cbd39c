#include "filtration/weight_extraction.hpp"

#include <vector>

#include "filtration/row_gather.hpp"
#include "host/arrays.hpp"
#include "host/errors.hpp"
#include "host/format.hpp"
#include "host/host.hpp"
#include "host/messages.hpp"
#include "host/pyutil.hpp"

namespace qm {

namespace {

// The weights of useful_signals[sid] as a C-contiguous float64 matrix.
nb::object signal_weights(nb::handle useful_signals, nb::handle sid) {
    nb::object weights = as_float64_contiguous(useful_signals[sid].attr("weights"));
    if (ndim_of(weights) != 2) {
        raise_error(host().EvaluationShapeError, msg::signal_weights_not_matrix(text_of(sid), shape_text_of(weights)));
    }
    return weights;
}

// The 0-row result: as many columns as the first signal's weights, 0 without signals.
nb::object empty_selection(nb::handle useful_signals) {
    if (useful_signals.is_none()) return empty_float64({0, 0});
    for (nb::handle first_id : useful_signals) {
        return empty_float64({0, dim_of(signal_weights(useful_signals, first_id), 1)});
    }
    return empty_float64({0, 0});
}

void check_passing_id(nb::handle useful_signals, nb::handle sid) {
    if (!sid.is_none() && !PyUnicode_Check(sid.ptr())) {
        raise_error(PyExc_TypeError, msg::passing_id_type(type_name_of(sid)));
    }
    if (!contains(useful_signals, sid)) throw_error(nb::handle(PyExc_KeyError)(sid));
}

// Weights of every passing signal, each checked to have the first one's shape.
std::vector<nb::object> passing_weights(nb::handle useful_signals, const nb::list& ids, const nb::object& first) {
    std::vector<nb::object> weights{first};
    for (size_t i = 1; i < ids.size(); ++i) {
        nb::object w = signal_weights(useful_signals, ids[i]);
        if (dims_of(w) != dims_of(first)) {
            raise_error(host().EvaluationShapeError,
                        msg::signal_weights_mismatch(text_of(ids[i]), shape_text_of(w), shape_text_of(first)));
        }
        weights.push_back(w);
    }
    return weights;
}

}  // namespace

nb::object extract_filtration_weights(nb::handle useful_signals, nb::handle passing_ids, std::int32_t t) {
    nb::list ids = list_of(passing_ids);
    if (ids.size() == 0) return empty_selection(useful_signals);
    nb::object first = signal_weights(useful_signals, ids[0]);
    const std::int64_t rows = dim_of(first, 0);
    const std::int64_t columns = dim_of(first, 1);
    if (t < 0 || t >= rows) raise_error(PyExc_IndexError, msg::extraction_row_out_of_bounds(t, rows));
    for (nb::handle sid : ids) check_passing_id(useful_signals, sid);

    std::vector<nb::object> weights = passing_weights(useful_signals, ids, first);
    std::vector<const double*> sources;
    for (const nb::object& w : weights) sources.push_back(float64_data(w));
    nb::object out = empty_float64({static_cast<std::int64_t>(ids.size()), columns});
    double* out_data = float64_data(out);
    {
        nb::gil_scoped_release release;
        gather_rows(sources, t, columns, out_data);
    }
    return out;
}

}  // namespace qm
