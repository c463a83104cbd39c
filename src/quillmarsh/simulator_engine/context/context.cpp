// EvaluationContext: construction-time defaults and validation, serialisation.
#include "context/shape_validation.hpp"
#include "host/arrays.hpp"
#include "host/errors.hpp"
#include "host/format.hpp"
#include "host/host.hpp"
#include "host/messages.hpp"
#include "host/pyclass.hpp"
#include "host/pyutil.hpp"

using namespace nb::literals;

namespace qm {

namespace {

nb::object or_default(nb::handle value, nb::object fallback) {
    return value.is_none() ? fallback : nb::borrow(value);
}

// Absent features count as none: evaluate then reports that no features were provided.
Py_ssize_t feature_count(nb::handle features) { return features.is_none() ? 0 : length_of(features); }

void validate_feature_index(nb::handle feature_index, nb::handle features) {
    Py_ssize_t count = feature_count(features);
    nb::int_ zero(0), bound(count);
    for (nb::handle item : feature_index.attr("items")()) {
        nb::handle idx = item[1];
        if (compare(idx, zero, Py_LT) || !compare(idx, bound, Py_LT)) {
            raise_error(host().EvaluationError,
                        msg::feature_index_out_of_bounds(text_of(item[0]), text_of(idx), count));
        }
    }
}

nb::object feature_index_or_default(nb::handle feature_index) {
    if (feature_index.is_none()) return nb::dict();
    if (!has_attr(feature_index, "items")) {
        raise_error(host().SchemaError, msg::feature_index_type(type_name_of(feature_index)));
    }
    return nb::borrow(feature_index);
}

nb::object stage_data_or_default(nb::handle stage_data) {
    if (stage_data.is_none()) return host().StageData();
    if (!is_instance(stage_data, host().StageData)) {
        raise_error(host().SchemaError, msg::stage_data_type(type_name_of(stage_data)));
    }
    return nb::borrow(stage_data);
}

void init_context(nb::handle self, nb::handle features, nb::handle feature_index, nb::handle useful_signals,
                  nb::handle registry, nb::handle universe, nb::handle metaparameters, nb::handle transform_pipeline,
                  nb::handle stage_data, nb::handle column_labels, nb::handle signal_pnl_vectors,
                  nb::handle function_states, nb::handle universe_mask, nb::handle current_day_index,
                  nb::handle pool_id, nb::handle universe_tag, nb::handle transforms_already_combined,
                  nb::handle validate_inputs) {
    self.attr("feature_index") = feature_index_or_default(feature_index);
    self.attr("useful_signals") = or_default(useful_signals, nb::dict());
    self.attr("registry") = registry;
    self.attr("universe") = universe;
    self.attr("metaparameters") = or_default(metaparameters, nb::dict());
    self.attr("transform_pipeline") = or_default(transform_pipeline, nb::list());
    self.attr("stage_data") = stage_data_or_default(stage_data);
    self.attr("column_labels") = or_default(column_labels, nb::list());
    self.attr("signal_pnl_vectors") = signal_pnl_vectors;
    self.attr("function_states") = function_states;
    self.attr("universe_mask") = universe_mask;
    self.attr("current_day_index") = current_day_index;
    self.attr("pool_id") = pool_id;
    self.attr("universe_tag") = universe_tag;
    self.attr("liquidity_feature_hashes") = nb::list();
    self.attr("liquidity_features") = nb::list();
    self.attr("factor_epoch") = nb::none();
    self.attr("epoch") = nb::none();
    self.attr("factor_model") = nb::none();
    self.attr("factor_model_version_id") = nb::none();
    self.attr("transforms_already_combined") = transforms_already_combined;
    bool validate = truthy(validate_inputs);
    self.attr("_skip_evaluation_shape_validation") = nb::bool_(!validate);
    self.attr("_evaluation_lock") = host().RLock();
    self.attr("registers") = nb::none();
    self.attr("extraction_buffer") = nb::none();
    self.attr("features") = features;

    nb::object signals = self.attr("useful_signals");
    if (validate) {
        validate_feature_index(self.attr("feature_index"), features);
        validate_evaluation_shapes(features, universe, signals);
    }
    if (!is_none_or_empty(signals) && feature_count(features) > 0) {
        std::int64_t n_alloc = first_feature_dims(features).cols;
        self.attr("extraction_buffer") = zeros_float64({static_cast<std::int64_t>(length_of(signals)), n_alloc});
    }
}

nb::dict get_state(nb::handle self) {
    nb::dict state;
    state.update(self.attr("__dict__"));
    if (state.contains("_evaluation_lock")) PyDict_DelItemString(state.ptr(), "_evaluation_lock");
    return state;
}

void set_state(nb::handle self, nb::handle state) {
    for (nb::handle item : state.attr("items")()) {
        if (PyObject_SetAttr(self.ptr(), item[0].ptr(), item[1].ptr()) != 0) throw nb::python_error();
    }
    self.attr("_evaluation_lock") = host().RLock();
}

}  // namespace

void export_context_type(nb::module_& m) {
    nb::dict ns;
    ns["__doc__"] = "Stores inputs, validates dimensions, allocates extraction buffer.";
    ns["__init__"] = method(
        "__init__", &init_context, "self"_a, "features"_a.none(), "feature_index"_a.none(), "useful_signals"_a = nb::none(),
        "registry"_a = nb::none(), "universe"_a = nb::none(), "metaparameters"_a = nb::none(),
        "transform_pipeline"_a = nb::none(), "stage_data"_a = nb::none(), "column_labels"_a = nb::none(),
        "signal_pnl_vectors"_a = nb::none(), "function_states"_a = nb::none(), "universe_mask"_a = nb::none(),
        "current_day_index"_a.none() = 0, "pool_id"_a = nb::none(), "universe_tag"_a = nb::none(),
        "transforms_already_combined"_a.none() = false, "validate_inputs"_a.none() = true);
    ns["__getstate__"] = method("__getstate__", &get_state, "self"_a);
    ns["__setstate__"] = method("__setstate__", &set_state, "self"_a, "state"_a);
    host_mut().EvaluationContext = make_class("EvaluationContext", reinterpret_cast<PyObject*>(&PyBaseObject_Type), ns);
    m.attr("EvaluationContext") = host().EvaluationContext;
}

}  // namespace qm
