// Module surface of the evaluation context and its input checks.
#include <nanobind/nanobind.h>

#include "context/shape_validation.hpp"
#include "context/stage_data.hpp"

namespace nb = nanobind;
using namespace nb::literals;

namespace qm {

void export_context_type(nb::module_& m);
void export_universe_error(nb::module_& m);

void export_context(nb::module_& m) {
    export_context_type(m);
    export_universe_error(m);
    m.def("_validate_evaluation_shapes", &validate_evaluation_shapes, "features"_a.none(), "universe"_a.none(),
          "useful_signals"_a.none());
    m.def("_attach_stage_data_feature_leaves", &attach_stage_data_feature_leaves, "graph"_a.none(), "context"_a.none());
    m.def("_resolve_stage_option", &resolve_stage_option, "context"_a.none(), "stage"_a.none());
}

}  // namespace qm
