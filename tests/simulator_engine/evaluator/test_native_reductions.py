"""The native PnL-weighted reduction through `evaluate`: stepped in C++, it gives the cells and
states of its NumPy twin called through Python, resumes exactly, and is topped up on a cold start."""
import numpy as np
import pytest
from hypothesis import given, settings, strategies as st

from quillmarsh._reference.reductions import PnlWeightedReduction
from quillmarsh.functions.builtins.reductions import REDUCTION_PNL_WEIGHTED
from quillmarsh.functions.registry import FunctionRegistry, default_registry
from quillmarsh.simulator_engine import expression_evaluator as ee
from quillmarsh.simulator_engine._types import FunctionGraphNode as Node
from quillmarsh.simulator_engine._types import FunctionState, UsefulSignal

from ..operators.python_call import assert_same_states

T, N, POOL = 30, 4, 7
WINDOW = 5
_rng = np.random.default_rng(11)
WEIGHTS = {f"s{k}": _rng.normal(size=(T, N)) for k in range(POOL)}
PNL = {sid: _rng.normal(size=(T, 2)) * 0.01 + 0.002 * k for k, sid in enumerate(WEIGHTS)}
PNL["s1"][::4, 0] = np.nan
PNL["s2"][:, 0] = -1.0  # never weighted
WEIGHTS["s3"][5:9, 1] = np.nan
SHARPE = {sid: float(k % 3 - 0.5) for k, sid in enumerate(WEIGHTS)}


def twin_registry():
    """The registry's reduction entry, its instances the NumPy twin called through Python."""
    registry = FunctionRegistry()
    entry = default_registry().get_entry(REDUCTION_PNL_WEIGHTED)
    registry.register(REDUCTION_PNL_WEIGHTED, param_schema=entry.param_schema, family="reduction", stateful=True,
                      factory=PnlWeightedReduction)
    return registry


def graph(filtered):
    children = []
    if filtered:
        children = [Node("filtration", "filtration", [Node("gt", "gt", [Node("string", "sharpe"),
                                                                           Node("float", 0.0)])])]
    return Node("reduction", REDUCTION_PNL_WEIGHTED, children, config={"window": WINDOW})


def context(registry, rows=slice(None), pnl_source="columns"):
    pool = {sid: UsefulSignal(weights=WEIGHTS[sid][rows], pnl=PNL[sid][rows], metadata={"sharpe": SHARPE[sid]})
            for sid in WEIGHTS}
    sources = {"columns": {"column_labels": ["gross_returns", "net"]},
               "vectors": {"signal_pnl_vectors": {"s0": {"gross_returns": 0.5}, "s4": {"gross_returns": 0.25}}},
               "none": {}}[pnl_source]
    return ee.EvaluationContext([np.zeros((T, N))[rows]], {"close": 0}, useful_signals=pool, registry=registry,
                                universe=np.ones((T, N))[rows], **sources)


def assert_same_cells(native, twin):
    assert native.tobytes() == twin.tobytes()


@pytest.mark.parametrize("filtered", [False, True], ids=["all signals", "filtered"])
@pytest.mark.parametrize("pnl_source", ["columns", "vectors", "none"])
def test_native_reduction_gives_the_cells_and_states_of_its_twin_through_python(filtered, pnl_source):
    native = ee.evaluate(graph(filtered), context(default_registry(), pnl_source=pnl_source))
    twin = ee.evaluate(graph(filtered), context(twin_registry(), pnl_source=pnl_source))
    assert_same_cells(native.weights, twin.weights)
    assert_same_states(native.states, twin.states)


@settings(max_examples=10)
@given(split=st.integers(1, T - 1), filtered=st.booleans())
def test_streaming_in_two_parts_equals_one_evaluation(split, filtered):
    whole = ee.evaluate(graph(filtered), context(default_registry()))
    first = ee.evaluate(graph(filtered), context(default_registry(), slice(0, split)))
    second = ee.evaluate(graph(filtered), context(default_registry(), slice(split, None)),
                         function_states=first.states)
    assert_same_cells(np.vstack([first.weights, second.weights]), whole.weights)
    assert_same_states(second.states, whole.states)


@pytest.mark.parametrize("saved_rows", [0, 2, WINDOW])
def test_cold_start_tops_up_a_restored_native_reduction_as_it_does_its_twin(saved_rows):
    history = np.arange(saved_rows * POOL, dtype=float).reshape(saved_rows, POOL) * 1e-3
    states = {"root": FunctionState(REDUCTION_PNL_WEIGHTED, "1",
                                    {"count": saved_rows, "window": WINDOW, "pnl_history": history})}
    native = ee.evaluate(graph(False), context(default_registry()), function_states=states, is_cold_start=True)
    twin = ee.evaluate(graph(False), context(twin_registry()), function_states=states, is_cold_start=True)
    assert_same_cells(native.weights, twin.weights)
    assert_same_states(native.states, twin.states)
    assert native.states["root"].data["count"] == max(saved_rows, WINDOW) + T
