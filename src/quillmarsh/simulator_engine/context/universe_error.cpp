// MissingSimulationUniverseError: raised when an evaluation has neither a
// universe nor a universe mask.
#include <string>

#include "host/format.hpp"
#include "host/host.hpp"
#include "host/messages.hpp"
#include "host/pyclass.hpp"

using namespace nb::literals;

namespace qm {

namespace {

void init_error(nb::handle self, nb::handle missing_args, nb::handle pool_id, nb::handle universe_tag,
                nb::handle feature_count) {
    nb::list args(missing_args);
    self.attr("missing_args") = args;
    self.attr("pool_id") = pool_id;
    self.attr("universe_tag") = universe_tag;
    self.attr("feature_count") = feature_count;
    std::string joined;
    for (size_t i = 0; i < args.size(); ++i) {
        if (i) joined += ", ";
        joined += text_of(args[i]);
    }
    host().EvaluationError.attr("__init__")(self, msg::missing_universe(joined));
}

}  // namespace

void export_universe_error(nb::module_& m) {
    nb::dict ns;
    ns["__doc__"] = "Raised when evaluation lacks both explicit universe inputs.";
    ns["__init__"] = method("__init__", &init_error, "self"_a, "missing_args"_a = nb::make_tuple("universe", "universe_mask"),
                            nb::kw_only(), "pool_id"_a = nb::none(), "universe_tag"_a = nb::none(),
                            "feature_count"_a = nb::none());
    host_mut().MissingSimulationUniverseError = make_class("MissingSimulationUniverseError", host().EvaluationError, ns);
    m.attr("MissingSimulationUniverseError") = host().MissingSimulationUniverseError;
}

}  // namespace qm
