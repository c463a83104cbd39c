"""Running the engine: its errors about the user's graph or data become one-line UserErrors.

Besides the engine's own error types, function instances raise TypeError and ValueError for
configuration values they cannot take (a window of 'x'); those are the user's to fix too.
"""
from __future__ import annotations

from typing import Any

from quillmarsh.functions.filtrations import FiltrationError
from quillmarsh.simulator_engine._types import SimulatorEngineError
from quillmarsh.simulator_engine.expression_evaluator import EvaluationResult, evaluate

from quillmarsh.cli.errors import UserError

ENGINE_ERRORS = (SimulatorEngineError, FiltrationError, TypeError, ValueError)


def evaluate_graph(graph: Any, context: Any, function_states: Any = None, *,
                   is_cold_start: bool = False, data_nan_features: Any = None) -> EvaluationResult:
    try:
        return evaluate(graph, context, function_states, is_cold_start,
                        data_nan_features=data_nan_features)
    except ENGINE_ERRORS as error:
        raise UserError(f"evaluation failed: {error}") from error
    except LookupError as error:
        if function_states is None:
            raise
        # A function restoring a saved payload looks its entries up by name.
        raise UserError(f"evaluation failed: the saved states lack {error} for this graph") from error
