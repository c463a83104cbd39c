"""Resolution of filtration nodes: once per evaluation, passing order, error mapping."""
import numpy as np
import pytest

from quillmarsh.functions.filtrations import EmptyFiltrationError
from quillmarsh.simulator_engine import expression_evaluator as ee
from quillmarsh.simulator_engine._types import EvaluationError, FiltrationResolutionError
from quillmarsh.simulator_engine._types import FunctionGraphNode as Node

# Filter tree conversion is pending on another branch; until it lands these fail with this.
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


class Recorder:
    stateful = True
    window = 5

    def __init__(self):
        self.inputs = []

    def __call__(self, extraction, signal_pnl=None):
        self.inputs.append(extraction.copy())
        return extraction.sum(axis=0)

    def get_state(self):
        return {}


def _evaluate(useful_signals, reduction=None):
    ctx = ee.EvaluationContext([np.zeros((T, N))], {"close": 0}, universe=np.ones((T, N)),
                               useful_signals=useful_signals)
    ctx._collect_states = False
    graph = Node("reduction", "reduce", [Node("filtration", "filtration")])
    return ee.evaluate(graph, ctx, bound_function_instances={"root": reduction or Recorder()})


def test_filtration_runs_once_and_keeps_pool_order():
    pool = {"b": Signal(2.0), "c": Signal(3.0), "a": Signal(1.0)}
    recorder = Recorder()
    out = _evaluate(pool, recorder)
    assert [signal.reads for signal in pool.values()] == [1, 1, 1]
    assert len(recorder.inputs) == T
    np.testing.assert_array_equal(recorder.inputs[0][:, 0], [2.0, 3.0, 1.0])
    np.testing.assert_array_equal(out.weights, np.full((T, N), 6.0))


@pytest.mark.parametrize("diagnostics, expected", [
    (None, {"passing_count": 0}),
    ({"passing_count": 0, "why": "threshold"}, {"passing_count": 0, "why": "threshold"}),
])
def test_empty_selection_is_an_evaluation_error_with_diagnostics(diagnostics, expected):
    cause = EmptyFiltrationError("nothing passed", diagnostics)
    with pytest.raises(EvaluationError, match="^Filtration returned 0 signals for filters: ") as err:
        _evaluate({"a": Signal(1.0, cause)})
    assert err.value.filter_diagnostics == expected and err.value.__cause__ is cause


def test_empty_pool_is_an_evaluation_error():
    with pytest.raises(EvaluationError, match="^Filtration returned 0 signals for filters: ") as err:
        _evaluate({})
    assert err.value.filter_diagnostics["passing_count"] == 0


def test_evaluation_errors_pass_through_unchanged():
    original = EvaluationError("bad metadata")
    with pytest.raises(EvaluationError) as err:
        _evaluate({"a": Signal(1.0, original)})
    assert err.value is original


def test_other_errors_become_resolution_errors():
    cause = KeyError("sector")
    with pytest.raises(FiltrationResolutionError) as err:
        _evaluate({"a": Signal(1.0, cause)})
    assert str(err.value).startswith("Filtration resolution failed for filters: ")
    assert str(err.value).endswith(": KeyError: 'sector'")
    assert err.value.filter_diagnostics == {"passing_count": 0, "cause": "KeyError"}
    assert err.value.__cause__ is cause
