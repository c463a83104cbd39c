// The engine's message catalogue: every error text the engine builds, in one
// place. Placeholders are filled by the callers with text forms from format.hpp.
#pragma once

#include <string>

namespace qm::msg {

// Evaluation entry.
inline std::string evaluate_graph_type(const std::string& type_name) {
    return "evaluate graph must be FunctionGraphNode; got " + type_name;
}
inline std::string no_features() { return "No features provided"; }
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

// Context construction and input shapes.
inline std::string stage_data_type(const std::string& type_name) {
    return "EvaluationContext.stage_data must be StageData or None; got " + type_name;
}
inline std::string feature_index_out_of_bounds(const std::string& name, const std::string& idx, long long count) {
    return "feature_index['" + name + "'] = " + idx + " is out of bounds for " + std::to_string(count) + " features";
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

// Warm-up accounting.
inline std::string warmup_rows_overflow(const std::string& path) {
    return "Warm-up row count of graph node '" + path + "' does not fit a 64-bit integer";
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

}  // namespace qm::msg
