"""Resolution of filtration nodes: once per evaluation, passing order, error mapping."""
import numpy as np
import pytest

from quillmarsh.functions.filtrations import EmptyFiltrationError
from quillmarsh.simulator_engine import expression_evaluator as ee
from quillmarsh.simulator_engine._types import EvaluationError, FiltrationResolutionError, FunctionGraphNode as Node

from ..evaluator.general_fakes import Accumulator, make_context

T, N = 3, 2


class Signal:
    """A useful signal whose metadata reads are counted, or raise `error`."""

    def __init__(self, value, error=None):
        self.weights = np.full((T, N), float(value))
        self.pnl = None
        self.error = error
        self.reads = 0

    @property
    def metadata(self):
        self.reads += 1
        if self.error is not None:
            raise self.error
        return {}


def _evaluate(useful_signals, reduction=None):
    """Evaluates a reduction over the signals passing an all-pass filtration."""
    ctx = make_context([np.zeros((T, N))], {"close": 0}, useful_signals=useful_signals)
    ctx._collect_states = False
    graph = Node("reduction", "reduce", [Node("filtration", "filtration")])
    return ee.evaluate(graph, ctx, bound_function_instances={"root": reduction or Accumulator()})


def test_filtration_runs_once_and_keeps_pool_order():
    pool = {"b": Signal(2.0), "c": Signal(3.0), "a": Signal(1.0)}
    reduction = Accumulator()
    out = _evaluate(pool, reduction)
    assert [signal.reads for signal in pool.values()] == [1, 1, 1]
    assert [extraction[:, 0].tolist() for (extraction,), _ in reduction.calls] == [[2.0, 3.0, 1.0]] * T
    np.testing.assert_array_equal(out.weights[:, 0], [1.0, 2.0, 3.0])


@pytest.mark.parametrize("pool, expected", [
    ({}, {"passing_count": 0, "pool_size": 0}),
    ({"a": Signal(1.0, EmptyFiltrationError("nothing passed"))}, {"passing_count": 0}),
    ({"a": Signal(1.0, EmptyFiltrationError("nothing passed", {"passing_count": 0, "why": "threshold"}))},
     {"passing_count": 0, "why": "threshold"}),
])
def test_empty_selection_is_an_evaluation_error_with_diagnostics(pool, expected):
    with pytest.raises(EvaluationError, match="^Filtration returned 0 signals for filters: ") as err:
        _evaluate(pool)
    assert err.value.filter_diagnostics == expected and (not pool or err.value.__cause__ is pool["a"].error)


def test_evaluation_errors_pass_through_unchanged():
    original = EvaluationError("bad metadata")
    with pytest.raises(EvaluationError) as err:
        _evaluate({"a": Signal(1.0, original)})
    assert err.value is original


def test_other_errors_become_resolution_errors():
    cause = KeyError("sector")
    message = "^Filtration resolution failed for filters: .*: KeyError: 'sector'$"
    with pytest.raises(FiltrationResolutionError, match=message) as err:
        _evaluate({"a": Signal(1.0, cause)})
    assert err.value.filter_diagnostics == {"passing_count": 0, "cause": "KeyError"} and err.value.__cause__ is cause
