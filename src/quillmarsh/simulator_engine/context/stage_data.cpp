#include "context/stage_data.hpp"

#include "host/arrays.hpp"
#include "host/host.hpp"
#include "host/pyutil.hpp"

namespace qm {

void attach_stage_data_feature_leaves(nb::handle graph, nb::handle context) {
    nb::object stage_data = context.attr("stage_data");
    if (truthy(stage_data.attr("is_empty")())) return;
    nb::list names = list_of(host().extract_feature_leaf_names(graph));
    names.sort();
    // A new list: the caller's features object (list or tuple) is never changed.
    nb::object loaded = context.attr("features");
    nb::list features = loaded.is_none() ? nb::list() : list_of(loaded);
    nb::object feature_index = context.attr("feature_index");
    for (nb::handle name : names) {
        if (contains(feature_index, name)) continue;
        nb::object value = stage_data.attr("value")(name, nb::none());
        if (!is_ndarray(value) || ndim_of(value) != 2) continue;
        feature_index[name] = nb::int_(features.size());
        features.append(as_float64_contiguous(value));
    }
    context.attr("features") = nb::tuple(features);
}

nb::object resolve_stage_option(nb::handle context, nb::handle stage) {
    nb::object metaparameters = context.attr("metaparameters");
    nb::object name = stage.attr("name");
    if (contains(metaparameters, name)) return metaparameters[name];
    nb::object pool = getattr_or_none(context, "pool_id");
    if (!pool.is_none() && contains(metaparameters, pool)) {
        nb::object entry = metaparameters[pool];
        if (has_attr(entry, "get") && contains(entry, name)) return entry.attr("get")(name);
    }
    return stage.attr("default");
}

}  // namespace qm
