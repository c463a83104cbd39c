// Loads the host package's components once, at module import.
#include "host/host.hpp"

#include <nanobind/nanobind.h>

namespace qm {

bool import_numpy_api();

namespace {
// Intentionally leaked: the handles must outlive every module-level object and
// must not be released after the interpreter has finalised.
HostApi* g_host = nullptr;
}  // namespace

const HostApi& host() { return *g_host; }
HostApi& host_mut() { return *g_host; }

void load_host() {
    if (!import_numpy_api()) throw nb::python_error();
    auto* api = new HostApi();
    nb::module_ types = nb::module_::import_("quillmarsh.simulator_engine._types");
    api->FunctionGraphNode = types.attr("FunctionGraphNode");
    api->FunctionState = types.attr("FunctionState");
    api->StageData = types.attr("StageData");
    api->SchemaError = types.attr("SchemaError");
    api->EvaluationError = types.attr("EvaluationError");
    api->EvaluationShapeError = types.attr("EvaluationShapeError");
    api->FunctionExecutionError = types.attr("FunctionExecutionError");
    api->FiltrationResolutionError = types.attr("FiltrationResolutionError");

    api->combine_signal_and_transforms =
        nb::module_::import_("quillmarsh.simulator_engine._combine").attr("combine_signal_and_transforms");
    api->extract_feature_leaf_names =
        nb::module_::import_("quillmarsh.simulator_engine._graph_helpers").attr("extract_feature_leaf_names");

    nb::module_ filtrations = nb::module_::import_("quillmarsh.functions.filtrations");
    api->FilterNode = filtrations.attr("FilterNode");
    api->FiltrationResult = filtrations.attr("FiltrationResult");
    api->EmptyFiltrationError = filtrations.attr("EmptyFiltrationError");
    api->EmptyPoolError = filtrations.attr("EmptyPoolError");
    api->FiltrationInstance =
        nb::module_::import_("quillmarsh.functions.filtrations_evaluation").attr("FiltrationInstance");

    api->RLock = nb::module_::import_("threading").attr("RLock");
    api->deepcopy = nb::module_::import_("copy").attr("deepcopy");
    api->logger = nb::module_::import_("structlog").attr("get_logger")(
        "quillmarsh.simulator_engine.expression_evaluator");
    api->numpy = nb::module_::import_("numpy");
    api->matmul = api->numpy.attr("matmul");
    g_host = api;
}

}  // namespace qm
