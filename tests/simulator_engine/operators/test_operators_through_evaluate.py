"""Every native operator through `evaluate`: the same cells as through a Python call, and for
stateful ones, streaming in two parts equal to one evaluation, bit for bit."""
import numpy as np
import pytest
from hypothesis import given, settings, strategies as st

from quillmarsh.functions.registry import default_registry
from quillmarsh.simulator_engine import expression_evaluator as ee
from quillmarsh.simulator_engine._types import FunctionGraphNode as Node
from quillmarsh.simulator_engine.expression_evaluator import _operator_table

from quillmarsh._reference.rank import rank_rows_reference

from .python_call import assert_same_states, python_call_registry

T, N = 24, 4
_rng = np.random.default_rng(8)
X = np.round(_rng.normal(size=(T, N)) * 3, 1)
X[[3, 10, 11], [0, 2, 2]] = np.nan
X[15, 1] = np.inf
X[5:12, 3] = 2.0  # a constant run
Y = np.round(_rng.normal(size=(T, N)), 1)
PARAMETERS = {"int": 3, "float": 0.5}

TABLE = _operator_table()
STATEFUL = [row for row in TABLE if row["stateful"]]


def graph_of(row):
    features = [Node("feature", name) for name in ("x", "y", "x")[:row["arity"]]]
    config = {item["name"]: PARAMETERS[item["type"]] for item in row["param_schema"] or []}
    return Node("rotation", row["name"], features, config=config)


def context(registry, rows=slice(None)):
    return ee.EvaluationContext([X[rows], Y[rows]], {"x": 0, "y": 1}, registry=registry, universe=np.ones((T, N))[rows])


@pytest.mark.parametrize("row", TABLE, ids=lambda row: row["alias"])
def test_native_steps_equal_python_calls(row):
    with np.errstate(all="ignore"):
        native = ee.evaluate(graph_of(row), context(default_registry()))
        python = ee.evaluate(graph_of(row), context(python_call_registry()))
    np.testing.assert_array_equal(native.weights, python.weights)
    assert_same_states(native.states, python.states)


@pytest.mark.parametrize("row", STATEFUL, ids=lambda row: row["alias"])
@settings(max_examples=10)
@given(split=st.integers(1, T - 1))
def test_streaming_in_two_parts_equals_one_evaluation(row, split):
    assert_streams_exactly(graph_of(row), split)


def assert_streams_exactly(graph, split):
    """Rows [0, split) then [split, T) with the states passed on give one evaluation's cells and states."""
    with np.errstate(all="ignore"):
        whole = ee.evaluate(graph, context(default_registry()))
        first = ee.evaluate(graph, context(default_registry(), slice(0, split)))
        second = ee.evaluate(graph, context(default_registry(), slice(split, None)), function_states=first.states)
    np.testing.assert_array_equal(np.vstack([first.weights, second.weights]), whole.weights)
    assert_same_states(second.states, whole.states)


OUTSIDE = np.zeros((T, N), dtype=bool)
OUTSIDE[::3, 1] = OUTSIDE[7:, 0] = True  # cells outside the universe


@pytest.mark.parametrize("row", TABLE, ids=lambda row: row["alias"])
def test_cells_outside_the_universe_are_nan_at_every_operator(row):
    universe = np.where(OUTSIDE, 0.0, 1.0)
    with np.errstate(all="ignore"):
        result = ee.evaluate(graph_of(row), ee.EvaluationContext(
            [X, Y], {"x": 0, "y": 1}, registry=default_registry(), universe=universe))
    assert np.isnan(result.weights[OUTSIDE]).all()


def test_assets_outside_the_universe_take_no_part_in_a_rank_of_a_comparison():
    universe = np.where(OUTSIDE, 0.0, 1.0)
    rank, greater = (next(row["name"] for row in TABLE if row["alias"] == alias)
                     for alias in ("rank", "greater_scalar"))
    graph = Node("rotation", rank, [Node("rotation", greater, [Node("feature", "x")], config={"value": 0.0})])
    result = ee.evaluate(graph, ee.EvaluationContext([X], {"x": 0}, registry=default_registry(), universe=universe))
    with np.errstate(invalid="ignore"):
        members_compared = np.where(OUTSIDE, np.nan, (X > 0).astype(float))
    np.testing.assert_array_equal(result.weights, rank_rows_reference(members_compared))
