#include "fast_paths/rank_paths.hpp"

#include "fast_paths/common.hpp"
#include "graph/accessors.hpp"
#include "graph/identities.hpp"
#include "host/arrays.hpp"
#include "host/errors.hpp"
#include "host/format.hpp"
#include "host/host.hpp"
#include "host/messages.hpp"
#include "host/pyutil.hpp"

using namespace nb::literals;

namespace qm {

namespace {

constexpr const char* kRankName = "latitudinal_rank_688068";
constexpr const char* kCombineName = "numerical_combine_d65e04";
constexpr const char* kRankModule = "quillmarsh.functions.rotations.latitudinal.rank";
constexpr const char* kBatchRankName = "batch_apply_3aa57128a46b";

bool is_function_call(nb::handle node, const std::string& path, const char* name) {
    return str_eq(require_graph_type_value(node, path), "rotation") &&
           str_eq(require_graph_node_value(node, path), name);
}

bool registry_has_factory(nb::handle registry, const char* name) {
    return !registry.is_none() && truthy(registry.attr("has_factory")(name));
}

// Is `node` (named `path`) a rank of a single feature leaf, the leaf named in
// the feature index?
bool is_rank_of_known_feature(nb::handle node, const std::string& path, nb::handle feature_index) {
    if (!is_function_call(node, path, kRankName)) return false;
    nb::object children = graph_children(node);
    if (length_of(children) != 1) return false;
    std::string leaf_path = child_path(path, 0);
    nb::object leaf = children[0];
    if (!is_feature_leaf_type(require_graph_type_value(leaf, leaf_path))) return false;
    return contains(feature_index, require_graph_node_value(leaf, leaf_path));
}

}  // namespace

bool can_use_simple_rank_fast_path(nb::handle graph, nb::handle context, nb::handle function_states,
                                   nb::handle data_nan_features) {
    if (!is_none_or_empty(data_nan_features) || !is_none_or_empty(function_states)) return false;
    if (!context_has_no_signals_or_transforms(context)) return false;
    if (!is_function_call(graph, "root", kRankName)) return false;
    nb::object children = graph_children(graph);
    if (length_of(children) != 1) return false;
    if (!is_feature_leaf_type(require_graph_type_value(children[0], "root.c0"))) return false;
    return !registry_has_factory(getattr_or_none(context, "registry"), kRankName);
}

nb::object evaluate_simple_rank_fast(nb::handle graph, nb::handle context) {
    nb::object name = require_graph_node_value(graph_children(graph)[0], "root.c0");
    nb::object feature_index = context.attr("feature_index");
    if (!contains(feature_index, name)) raise_error(host().EvaluationError, msg::feature_not_in_context(text_of(name)));
    nb::object data = as_float64(context.attr("features")[feature_index[name]]);
    nb::object batch_rank = nb::module_::import_(kRankModule).attr(kBatchRankName);
    nb::object ranks = batch_rank(data, "universe"_a = getattr_or_none(context, "universe"));
    if (ranks.is_none()) return ranks;
    return as_float64_contiguous(ranks);
}

bool can_use_rank_multiply_fast_path(nb::handle graph, nb::handle context, nb::handle function_states,
                                     nb::handle bound_function_instances, nb::handle data_nan_features) {
    if (!is_none_or_empty(data_nan_features) || !is_none_or_empty(function_states)) return false;
    if (!is_none_or_empty(bound_function_instances)) return false;
    if (!context_has_no_signals_or_transforms(context)) return false;
    if (!is_function_call(graph, "root", kCombineName)) return false;
    nb::object registry = getattr_or_none(context, "registry");
    if (registry_has_factory(registry, kCombineName) || registry_has_factory(registry, kRankName)) return false;
    nb::object children = graph_children(graph);
    if (length_of(children) != 2) return false;
    nb::object feature_index = context.attr("feature_index");
    for (size_t i = 0; i < 2; ++i) {
        if (!is_rank_of_known_feature(children[i], child_path("root", i), feature_index)) return false;
    }
    return true;
}

nb::object evaluate_rank_multiply_fast(nb::handle graph, nb::handle context) {
    nb::object children = graph_children(graph);
    nb::object left = evaluate_simple_rank_fast(children[0], context);
    if (left.is_none()) return left;
    nb::object right = evaluate_simple_rank_fast(children[1], context);
    if (right.is_none()) return right;
    nb::object product = as_float64_contiguous(host().numpy.attr("multiply")(left, right));
    store_last_row_register(context, product);
    return product;
}

}  // namespace qm
