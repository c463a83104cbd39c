// Stage-data arrays exposed as feature leaves, and transform-stage options.
#pragma once

#include <nanobind/nanobind.h>

namespace nb = nanobind;

namespace qm {

// Appends the graph's two-dimensional stage-data leaves that are not loaded
// features to context.features / context.feature_index (names in text order).
void attach_stage_data_feature_leaves(nb::handle graph, nb::handle context);

// A stage's option from the metaparameters: direct, then per pool, then default.
nb::object resolve_stage_option(nb::handle context, nb::handle stage);

}  // namespace qm
