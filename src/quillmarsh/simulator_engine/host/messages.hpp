// The engine's message catalogue: every error text the engine builds, in one
// place. Placeholders are filled by the callers with text forms from format.hpp.
#pragma once

#include <cstddef>
#include <string>

namespace qm::msg {

// Evaluation entry.
inline std::string evaluate_graph_type(const std::string& type_name) {
    return "evaluate graph must be FunctionGraphNode; got " + type_name;
}
inline std::string no_features() { return "No features provided"; }
inline std::string graph_too_large(unsigned long long limit) {
    return "graph has more than " + std::to_string(limit) +
           " nodes once each use of a shared node object is counted at its place; "
           "a node object used at several places of a deep graph multiplies its size";
}
inline std::string missing_universe(const std::string& joined) {
    return "missing_simulation_universe: missing required evaluation inputs " + joined;
}

// Graph accessors.
inline std::string graph_node_type(const std::string& path, const std::string& type_name) {
    return "Graph node '" + path + "' must be FunctionGraphNode; got " + type_name;
}
inline std::string graph_missing_key(const std::string& path, const std::string& key) {
    return "Graph node '" + path + "' missing required key: " + key;
}
inline std::string graph_config_type(const std::string& path, const std::string& type_name) {
    return "Graph node '" + path + "' config must be a map or None; got " + type_name;
}

// Context construction and input shapes.
inline std::string stage_data_type(const std::string& type_name) {
    return "EvaluationContext.stage_data must be StageData or None; got " + type_name;
}
inline std::string feature_index_type(const std::string& type_name) {
    return "EvaluationContext.feature_index must be a map of feature name to position, or None; got " + type_name;
}
inline std::string feature_index_out_of_bounds(const std::string& name, const std::string& idx, long long count) {
    return "feature_index['" + name + "'] = " + idx + " is out of bounds for " + std::to_string(count) + " features";
}
inline std::string first_feature_not_matrix(const std::string& shape) {
    return "'feature_0' must be a two-dimensional (T, N_alloc) matrix; got shape " + shape;
}
inline std::string feature_dimension_mismatch(const std::string& ref_shape, long long i, const std::string& shape) {
    return "Feature dimension mismatch: 'feature_0' shape " + ref_shape + " vs 'feature_" + std::to_string(i) +
           "' shape " + shape;
}
inline std::string universe_dimension_mismatch(const std::string& ref_shape, const std::string& universe_shape) {
    return "Feature dimension mismatch: features shape " + ref_shape + " vs universe shape " + universe_shape;
}
inline std::string signal_weights_shape(const std::string& sid, const std::string& shape, const std::string& ref) {
    return "useful signal '" + sid + "' weights shape " + shape + " does not match feature shape " + ref;
}
inline std::string signal_pnl_shape(const std::string& sid, const std::string& shape, const std::string& ref) {
    return "useful signal '" + sid + "' pnl shape " + shape + " does not match feature shape " + ref;
}
inline std::string feature_not_in_context(const std::string& name) {
    return "Feature '" + name + "' not in context";
}

// Configuration checks.
inline std::string config_engine_only(const std::string& name, const std::string& path, const std::string& joined) {
    return "Function '" + name + "' at node '" + path + "' config contains engine-only parameter(s): " + joined;
}
inline std::string config_unknown(const std::string& name, const std::string& path, const std::string& joined) {
    return "Function '" + name + "' at node '" + path + "' config contains unknown parameter(s): " + joined;
}
inline std::string config_missing(const std::string& name, const std::string& path, const std::string& joined) {
    return "Function '" + name + "' at node '" + path + "' config missing required parameter(s): " + joined;
}

// Filtration weight extraction.
inline std::string extraction_row_out_of_bounds(long long t, long long rows) {
    return "t=" + std::to_string(t) + " out of bounds for weights array with valid range [0, " + std::to_string(rows) +
           ")";
}
inline std::string passing_id_type(const std::string& type_name) {
    return "passing signal ids must be str or None; got " + type_name;
}
inline std::string signal_weights_not_matrix(const std::string& sid, const std::string& shape) {
    return "useful signal '" + sid + "' weights must be two-dimensional; got shape " + shape;
}
inline std::string signal_weights_mismatch(const std::string& sid, const std::string& shape, const std::string& ref) {
    return "useful signal '" + sid + "' weights shape " + shape + " does not match the first passing signal's shape " +
           ref;
}

// Node collection and binding.
inline std::string bound_instance_missing(const std::string& path, const std::string& name) {
    return "Bound function instance missing for path '" + path + "' (function '" + name + "')";
}
inline std::string bound_instance_none(const std::string& path, const std::string& name) {
    return "Bound function instance is None for node '" + path + "' (function '" + name + "')";
}
inline std::string function_not_instantiable(const std::string& name, const std::string& path) {
    return "Function '" + name + "' at node '" + path +
           "' is not bound and cannot be instantiated from the evaluation registry";
}

// General evaluator preparation.
inline std::string function_input_feature_shape(const std::string& parent, const std::string& feature,
                                                const std::string& shape, long long T, long long N) {
    return "Function '" + parent + "' input feature '" + feature + "' has shape " + shape + ", expected (" +
           std::to_string(T) + ", " + std::to_string(N) + ")";
}
inline std::string feature_shape(const std::string& feature, const std::string& shape, long long T, long long N) {
    return "Feature '" + feature + "' has shape " + shape + ", expected (" + std::to_string(T) + ", " +
           std::to_string(N) + ")";
}
inline std::string function_state_keys_mismatch() { return "Function state keys do not match graph tree structure"; }

// Per-row loop.
inline std::string precomputed_shape(const std::string& cid, const std::string& shape, long long N, long long t) {
    return "Precomputed node '" + cid + "' returned shape " + shape + ", expected (" + std::to_string(N) +
           ",) at row " + std::to_string(t);
}
inline std::string function_failed(const std::string& name, long long t, const std::string& error) {
    return "Function '" + name + "' failed at row " + std::to_string(t) + ": " + error;
}
inline std::string function_result_shape(const std::string& name, const std::string& shape, long long N,
                                         long long t) {
    return "Function '" + name + "' returned shape " + shape + ", expected (" + std::to_string(N) + ",) at row " +
           std::to_string(t);
}
inline std::string function_result_unusable(const std::string& name, const std::string& type_name, long long n,
                                            long long t) {
    return "Function '" + name + "' returned " + type_name + ", expected a float64 array of shape (" +
           std::to_string(n) + ",) or a number at row " + std::to_string(t);
}
inline std::string function_result_dtype(const std::string& name, const std::string& dtype, long long t) {
    return "Function '" + name + "' returned dtype " + dtype + ", expected float64 at row " + std::to_string(t);
}

// Reductions.
inline std::string pnl_column_missing(const std::string& column, const std::string& labels) {
    return "PnL column '" + column + "' not found in column_labels: " + labels;
}
inline std::string reduction_without_signals(const std::string& name, const std::string& path, long long t) {
    return "Reduction '" + name + "' at node '" + path + "' has no useful signals to reduce at row " +
           std::to_string(t) + ": the context has no useful signals and no filtration selected any";
}

// Filtration resolution.
inline std::string filtration_empty(const std::string& desc) {
    return "Filtration returned 0 signals for filters: " + desc;
}
inline std::string filtration_failed(const std::string& desc, const std::string& type_name, const std::string& text) {
    return "Filtration resolution failed for filters: " + desc + ": " + type_name + ": " + text;
}

// Fast paths and whole-matrix kernels.
inline std::string fast_path_result_shape(const std::string& shape) {
    return "Fast path result must be a two-dimensional (T, N_alloc) matrix; got shape " + shape;
}
inline std::string rolling_without_data(const std::string& path) {
    return "Rolling statistic at node '" + path + "' has no data child";
}
inline std::string window_too_small(const std::string& window) {
    return "window must be at least 1, got " + window;
}
inline std::string kernel_matrix_ndim(const std::string& kernel, const std::string& shape) {
    return kernel + " data must be a two-dimensional matrix; got shape " + shape;
}
inline std::string rank_universe_shape(const std::string& universe_shape, const std::string& data_shape) {
    return "rank universe shape " + universe_shape + " does not match data shape " + data_shape;
}
inline std::string rank_row_too_wide(const std::string& shape) {
    return "rank rows are limited to 4294967295 cells; got shape " + shape;
}

// One-row rolling step over a caller's running state.
inline std::string rolling_statistic_name(const std::string& name) {
    return "no rolling statistic is named " + name;
}
inline std::string rolling_step_count(const std::string& count) {
    return "rolling step count must be at least 0, got " + count;
}
inline std::string rolling_step_array_type(const std::string& what, const std::string& type_name) {
    return "rolling step argument '" + what + "' must be a numpy array; got " + type_name;
}
inline std::string rolling_step_dtype(const std::string& what, const std::string& expected, const std::string& dtype) {
    return "rolling step argument '" + what + "' must have dtype " + expected + "; got " + dtype;
}
inline std::string rolling_step_layout(const std::string& what) {
    return "rolling step argument '" + what + "' must be C-contiguous, aligned, writeable and in native byte order";
}
inline std::string rolling_step_ring_shape(const std::string& shape) {
    return "rolling step argument 'ring' must be a (window, N) matrix with window >= 1; got shape " + shape;
}
inline std::string rolling_step_shape(const std::string& what, const std::string& shape, const std::string& expected) {
    return "rolling step argument '" + what + "' has shape " + shape + ", expected " + expected;
}

// Native operator instances: configuration, calls and saved states.
inline std::string unknown_operator(const std::string& name) { return "'" + name + "' is not a native operator"; }
inline std::string operator_config_type(const std::string& type_name) {
    return "the configuration must be a dict, got " + type_name;
}
inline std::string operator_param_unknown(const std::string& op, const std::string& key_repr) {
    return op + " got an unexpected parameter " + key_repr;
}
inline std::string operator_param_missing(const std::string& op, const std::string& param) {
    return op + " is missing the parameter '" + param + "'";
}
inline std::string param_not_integer(const std::string& param, const std::string& value_repr) {
    return param + " must be an integer, got " + value_repr;
}
inline std::string param_not_number(const std::string& param, const std::string& value_repr) {
    return param + " must be a number, got " + value_repr;
}
inline std::string param_not_finite(const std::string& param, const std::string& value_repr) {
    return param + " must be finite, got " + value_repr;
}
inline std::string param_below_one(const std::string& param, const std::string& value_repr) {
    return param + " must be at least 1, got " + value_repr;
}
inline std::string operator_keyword(const std::string& op, const std::string& key_repr) {
    return op + " got an unexpected keyword argument " + key_repr;
}
inline std::string operator_row_count(const std::string& op, std::size_t arity, std::size_t given) {
    return op + " takes " + std::to_string(arity) + " row(s), got " + std::to_string(given);
}
inline std::string operator_row_not_vector(const std::string& shape) { return "expected a row vector, got shape " + shape; }
inline std::string operator_rows_unequal(const std::string& first, const std::string& other) {
    return "expected rows of one width, got shapes " + first + " and " + other;
}
inline std::string operator_row_width(const std::string& expected, const std::string& shape) {
    return "expected a row of shape " + expected + ", got " + shape;
}
inline std::string operator_width_changed() { return "a row's width differs from the width the operator holds"; }
inline std::string operator_without_window() { return "a stateless operator has no window"; }
inline std::string saved_state_type(const std::string& type_name) { return "a saved state must be a dict, got " + type_name; }
inline std::string saved_state_window(const std::string& saved, const std::string& window) {
    return "saved state has window " + saved + ", this instance has window " + window;
}
inline std::string saved_state_count(const std::string& count) { return "saved state has a negative count " + count; }
inline std::string saved_state_without_history(long long count, const std::string& field) {
    return "saved state with count " + std::to_string(count) + " carries no '" + field + "'";
}
inline std::string saved_state_missing(const std::string& field) { return "saved state lacks '" + field + "'"; }
inline std::string saved_state_scalar() { return "saved state arrays must have at least one dimension"; }
inline std::string saved_state_dtype(const std::string& field, const std::string& dtype, const std::string& target) {
    return "saved state field '" + field + "' has dtype " + dtype + ", which does not cast safely to " + target;
}
inline std::string saved_state_shape(const std::string& field, const std::string& shape, const std::string& expected) {
    return "saved state field '" + field + "' has shape " + shape + ", expected " + expected;
}
inline std::string pickled_native_function() { return "a pickled NativeFunction holds (name, config, state)"; }

// Native reduction instances.
inline std::string reduction_window_below_one(const std::string& value_text) {
    return "window must be at least 1, got " + value_text;
}
inline std::string reduction_extraction_not_matrix(const std::string& shape) {
    return "extraction must be a (signals, assets) matrix, got shape " + shape;
}
inline std::string reduction_pnl_count(long long values, long long signals) {
    return "signal_pnl has " + std::to_string(values) + " values for " + std::to_string(signals) + " signals";
}
inline std::string reduction_history_shape(const std::string& shape, long long window) {
    return "saved PnL history of shape " + shape + " does not fit a window of " + std::to_string(window) + " rows";
}
inline std::string pickled_reduction() { return "a pickled NativePnlWeightedReduction holds (window, pnl_column, state)"; }

}  // namespace qm::msg
