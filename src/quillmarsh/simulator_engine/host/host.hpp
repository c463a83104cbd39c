// Handles on the host package's types, services and the few standard-library
// objects the engine calls. Loaded once when the module is imported.
#pragma once

#include <nanobind/nanobind.h>

namespace nb = nanobind;

namespace qm {

struct HostApi {
    // quillmarsh.simulator_engine._types
    nb::object FunctionGraphNode, FunctionState, StageData;
    nb::object SchemaError, EvaluationError, EvaluationShapeError;
    nb::object FunctionExecutionError, FiltrationResolutionError;
    // Engine-defined classes, created at import.
    nb::object EvaluationContext, EvaluationResult, MissingSimulationUniverseError;
    // quillmarsh.simulator_engine._combine / _graph_helpers
    nb::object combine_signal_and_transforms, extract_feature_leaf_names;
    // quillmarsh.functions.filtrations / filtrations_evaluation
    nb::object FilterNode, FiltrationResult, FiltrationInstance;
    nb::object EmptyFiltrationError, EmptyPoolError;
    // Standard library and logging.
    nb::object RLock, deepcopy, logger;
    nb::object numpy, matmul;
};

// The loaded handles; valid after load_host() succeeded.
const HostApi& host();
HostApi& host_mut();

// Imports NumPy's C API and the host modules; raises on failure.
void load_host();

}  // namespace qm
