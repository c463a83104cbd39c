#include "context/shape_validation.hpp"

#include "host/errors.hpp"
#include "host/format.hpp"
#include "host/host.hpp"
#include "host/messages.hpp"
#include "host/pyutil.hpp"

namespace qm {

namespace {

nb::tuple shape_tuple(nb::handle array_like) { return tuple_of(array_like.attr("shape")); }

// True when `shape` has a first dimension equal to the first dimension of `ref`;
// a shape without dimensions matches nothing.
bool same_row_count(const nb::tuple& shape, const nb::tuple& ref) {
    if (shape.size() == 0 || ref.size() == 0) return false;
    return compare(item_at(shape, 0), item_at(ref, 0), Py_EQ);
}

void validate_signals(nb::handle useful_signals, const nb::tuple& ref) {
    for (nb::handle item : useful_signals.attr("items")()) {
        nb::handle sid = item[0];
        nb::handle signal = item[1];
        nb::object weights = getattr_or_none(signal, "weights");
        if (!weights.is_none() && !compare(shape_tuple(weights), ref, Py_EQ)) {
            raise_error(host().EvaluationError,
                        msg::signal_weights_shape(text_of(sid), text_of(shape_tuple(weights)), text_of(ref)));
        }
        nb::object pnl = getattr_or_none(signal, "pnl");
        if (pnl.is_none()) continue;
        nb::tuple pnl_shape = shape_tuple(pnl);
        if (!same_row_count(pnl_shape, ref)) {
            raise_error(host().EvaluationError, msg::signal_pnl_shape(text_of(sid), text_of(pnl_shape), text_of(ref)));
        }
    }
}

}  // namespace

void validate_evaluation_shapes(nb::handle features, nb::handle universe, nb::handle useful_signals) {
    if (is_none_or_empty(features)) return;
    nb::tuple ref = shape_tuple(item_at(features, 0));
    Py_ssize_t count = length_of(features);
    for (Py_ssize_t i = 1; i < count; ++i) {
        nb::tuple shape = shape_tuple(item_at(features, i));
        if (!compare(shape, ref, Py_EQ)) {
            raise_error(host().EvaluationError, msg::feature_dimension_mismatch(text_of(ref), i, text_of(shape)));
        }
    }
    if (!universe.is_none()) {
        nb::tuple shape = shape_tuple(universe);
        if (!compare(shape, ref, Py_EQ)) {
            raise_error(host().EvaluationError, msg::universe_dimension_mismatch(text_of(ref), text_of(shape)));
        }
    }
    if (is_none_or_empty(useful_signals)) return;
    validate_signals(useful_signals, ref);
}

MatrixDims first_feature_dims(nb::handle features) {
    std::vector<long long> dims = shape_dims(item_at(features, 0));
    if (dims.size() != 2) raise_error(host().EvaluationShapeError, msg::first_feature_not_matrix(shape_text(dims)));
    return {dims[0], dims[1]};
}

}  // namespace qm
