#include "evaluator/entry.hpp"

#include <cstdint>

#include "context/shape_validation.hpp"
#include "context/stage_data.hpp"
#include "evaluator/general_evaluator.hpp"
#include "evaluator/result.hpp"
#include "fast_paths/leaf.hpp"
#include "fast_paths/longitudinal_path.hpp"
#include "fast_paths/rank_paths.hpp"
#include "fast_paths/universe_mask.hpp"
#include "graph/config_validation.hpp"
#include "graph/expanded_size.hpp"
#include "graph/identities.hpp"
#include "host/errors.hpp"
#include "host/format.hpp"
#include "host/host.hpp"
#include "host/messages.hpp"
#include "host/pyutil.hpp"

using namespace nb::literals;

namespace qm {

namespace {

// Wraps the graph in the context's pending transform stages, on a deep copy
// whose function nodes keep the state identities they had before wrapping.
nb::object combine_transforms(nb::handle graph, nb::handle context) {
    nb::object pipeline = getattr_or_none(context, "transform_pipeline");
    if (is_none_or_empty(pipeline) || truthy(getattr_or_none(context, "transforms_already_combined"))) {
        return nb::borrow(graph);
    }
    nb::object copy = host().deepcopy(graph);
    invalidate_graph_evaluation_caches(copy);
    annotate_state_identities(copy, "root");
    nb::object combined = host().combine_signal_and_transforms(copy, pipeline, context.attr("metaparameters"),
                                                               context.attr("registry"), context);
    invalidate_graph_evaluation_caches(combined);
    context.attr("transform_pipeline") = nb::list();
    return combined;
}

[[noreturn]] void raise_missing_universe(nb::handle context, nb::handle features) {
    nb::object feature_count = nb::none();
    Py_ssize_t n = PyObject_Length(features.ptr());
    if (n >= 0) feature_count = nb::int_(n);
    else PyErr_Clear();
    throw_error(host().MissingSimulationUniverseError(nb::make_tuple("universe", "universe_mask"),
                                                      "pool_id"_a = getattr_or_none(context, "pool_id"),
                                                      "universe_tag"_a = getattr_or_none(context, "universe_tag"),
                                                      "feature_count"_a = feature_count));
}

void ensure_universe_mask(nb::handle context, nb::handle features) {
    if (!getattr_or_none(context, "universe_mask").is_none()) return;
    nb::object universe = getattr_or_none(context, "universe");
    if (universe.is_none()) raise_missing_universe(context, features);
    context.attr("universe_mask") = derive_universe_mask(universe);
}

// The first fast path that applies, in their fixed order, wrapped as a result;
// None when the graph needs the general evaluator. A rank path whose kernel
// gives no result falls through to the next check.
nb::object run_fast_path(nb::handle graph, nb::handle context, const EvaluationOptions& options, std::int64_t rows) {
    const nb::handle states = options.function_states, nan_features = options.data_nan_features;
    if (can_use_leaf_fast_path(graph, context, states, nan_features)) {
        return make_result(evaluate_leaf_fast(graph, context), nb::dict());
    }
    if (can_use_simple_rank_fast_path(graph, context, states, nan_features)) {
        nb::object ranks = evaluate_simple_rank_fast(graph, context);
        if (!ranks.is_none()) return make_result(ranks, nb::dict());
    }
    if (can_use_rank_multiply_fast_path(graph, context, states, options.bound_function_instances, nan_features)) {
        nb::object product = evaluate_rank_multiply_fast(graph, context);
        if (!product.is_none()) return make_result(product, nb::dict());
    }
    if (can_use_longitudinal_fast_path(graph, context, states, rows, nan_features)) {
        return make_result(evaluate_longitudinal_fast(graph, context), nb::dict());
    }
    return nb::none();
}

}  // namespace

nb::object evaluate_unlocked(nb::handle graph_in, nb::handle context, const EvaluationOptions& options) {
    check_expanded_graph_size(graph_in);
    nb::object graph = combine_transforms(graph_in, context);
    if (!truthy(getattr_or_none(context, "_skip_evaluation_shape_validation"))) {
        validate_evaluation_shapes(context.attr("features"), getattr_or_none(context, "universe"),
                                   getattr_or_none(context, "useful_signals"));
    }
    attach_stage_data_feature_leaves(graph, context);
    nb::object features = context.attr("features");
    if (features.is_none() || length_of(features) == 0) raise_error(host().EvaluationError, msg::no_features());
    const auto [T, N] = first_feature_dims(features);
    ensure_universe_mask(context, features);
    preflight_explicit_graph_config(getattr_or_none(context, "registry"), graph, "root");

    nb::object fast = run_fast_path(graph, context, options, T);
    if (!fast.is_none()) return fast;
    return run_general_evaluator(graph, context, options, T, N);
}

nb::object evaluate(nb::handle graph, nb::handle context, const EvaluationOptions& options) {
    if (!is_instance(graph, host().FunctionGraphNode)) {
        raise_error(host().SchemaError, msg::evaluate_graph_type(type_name_of(graph)));
    }
    nb::object lock = getattr_or_none(context, "_evaluation_lock");
    if (lock.is_none() && is_instance(context, host().EvaluationContext)) {
        lock = host().RLock();
        context.attr("_evaluation_lock") = lock;
    }
    if (lock.is_none()) return evaluate_unlocked(graph, context, options);
    lock.attr("acquire")();
    nb::object result;
    try {
        result = evaluate_unlocked(graph, context, options);
    } catch (...) {
        lock.attr("release")();
        throw;
    }
    lock.attr("release")();
    return result;
}

}  // namespace qm
