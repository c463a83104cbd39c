#include "fast_paths/leaf.hpp"

#include "fast_paths/common.hpp"
#include "fast_paths/universe_mask.hpp"
#include "graph/accessors.hpp"
#include "graph/identities.hpp"
#include "host/arrays.hpp"
#include "host/errors.hpp"
#include "host/format.hpp"
#include "host/host.hpp"
#include "host/messages.hpp"
#include "host/pyutil.hpp"

namespace qm {

namespace {

nb::object masked_feature(nb::handle context, nb::handle name) {
    nb::object position = context.attr("feature_index")[name];
    nb::object data = as_float64(context.attr("features")[position]);
    nb::object masked = apply_universe_mask(data, getattr_or_none(context, "universe"));
    return as_float64_contiguous(masked);
}

}  // namespace

bool can_use_leaf_fast_path(nb::handle graph, nb::handle context, nb::handle function_states,
                            nb::handle data_nan_features) {
    if (!is_none_or_empty(data_nan_features)) return false;
    if (!is_none_or_empty(function_states)) return false;
    if (!is_feature_leaf_type(require_graph_type_value(graph, "root"))) return false;
    return contains(context.attr("feature_index"), require_graph_node_value(graph, "root"));
}

nb::object evaluate_leaf_fast(nb::handle graph, nb::handle context) {
    nb::object result = masked_feature(context, require_graph_node_value(graph, "root"));
    store_last_row_register(context, result);
    return result;
}

nb::object feature_matrix_for_fast_path(nb::handle node, nb::handle context) {
    nb::object name = require_graph_node_value(node, "fast_path.feature");
    if (!contains(context.attr("feature_index"), name)) {
        raise_error(host().EvaluationError, msg::feature_not_in_context(text_of(name)));
    }
    return masked_feature(context, name);
}

}  // namespace qm
