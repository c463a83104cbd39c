"""A sub-expression written twice in one graph: with native operators only, the repeat copies
the first node's row instead of stepping its own instance. Cells, saved states and data-NaN
marks stay those of stepping every node (the Python-call path, which shares nothing), and
streaming over the repeats stays exact."""
import numpy as np
import pytest
from hypothesis import given, settings, strategies as st

from quillmarsh.functions.registry import default_registry
from quillmarsh.simulator_engine import expression_evaluator as ee
from quillmarsh.simulator_engine._types import FunctionGraphNode as Node

from quillmarsh.simulator_engine.expression_evaluator import NativeFunction

from .python_call import PythonCall, assert_same_states, python_call_registry
from .test_operators_through_evaluate import STATEFUL, TABLE, T, assert_streams_exactly, context, graph_of

BY_ALIAS = {row["alias"]: row["name"] for row in TABLE}
ADD = BY_ALIAS["add"]


def repeated_graph(row):
    """op + delay(op, 1) + ts_sum(op + delay(op, 1), 2): op three times, its sum with the delay twice."""
    def pair():
        return Node("rotation", ADD, [graph_of(row), Node("rotation", BY_ALIAS["delay"], [graph_of(row)],
                                                          config={"window": 1})])
    return Node("rotation", ADD, [pair(), Node("rotation", BY_ALIAS["ts_sum"], [pair()], config={"window": 2})])


@pytest.mark.parametrize("row", STATEFUL, ids=lambda row: row["alias"])
@pytest.mark.parametrize("data_nan", [None, ["y"]])
def test_repeats_give_the_cells_states_and_marks_of_stepping_every_node(row, data_nan):
    graph = repeated_graph(row)
    with np.errstate(all="ignore"):
        shared = ee.evaluate(graph, context(default_registry()), data_nan_features=data_nan)
        stepped = ee.evaluate(graph, context(python_call_registry()), data_nan_features=data_nan)
    np.testing.assert_array_equal(shared.weights, stepped.weights)
    assert_same_states(shared.states, stepped.states)
    assert shared.nan_source == stepped.nan_source


@pytest.mark.parametrize("alias", ["ts_sum", "ts_rank", "correlation", "ema", "zscore", "delay"])
@settings(max_examples=8)
@given(split=st.integers(1, T - 1))
def test_streaming_over_repeats_equals_one_evaluation(alias, split):
    assert_streams_exactly(repeated_graph(next(row for row in STATEFUL if row["alias"] == alias)), split)



@pytest.mark.parametrize("history", ["one fresh, one fed", "one instance at both nodes"])
def test_bound_instances_with_their_own_history_are_each_stepped(history):
    """Nodes alike in the graph stand for each other only while their instances are fresh and distinct."""
    x = Node("feature", "x")
    graph = Node("rotation", ADD, [Node("rotation", BY_ALIAS["ts_sum"], [x], config={"window": 2}),
                                   Node("rotation", BY_ALIAS["ts_sum"], [x], config={"window": 2})])

    def bound():
        first = NativeFunction(BY_ALIAS["ts_sum"], window=2)
        second = first if history == "one instance at both nodes" else NativeFunction(BY_ALIAS["ts_sum"], window=2)
        if second is not first:
            second(np.full(context(default_registry()).features[0].shape[1], 100.0))
        return {"root": NativeFunction(ADD), "root.c0": first, "root.c1": second}

    native = ee.evaluate(graph, context(default_registry()), bound_function_instances=bound())
    stepped = ee.evaluate(graph, context(default_registry()),
                          bound_function_instances={path: PythonCall(instance) for path, instance in bound().items()})
    np.testing.assert_array_equal(native.weights, stepped.weights)
    assert_same_states(native.states, stepped.states)
