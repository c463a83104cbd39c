"""Preparation checks: feature shapes, function-state keys and warm-up rows."""
import numpy as np
import pytest
from .general_fakes import Accumulator, Fn, FakeRegistry, make_context

from quillmarsh.simulator_engine import expression_evaluator as ee
from quillmarsh.simulator_engine._types import EvaluationError, EvaluationShapeError, FunctionState
from quillmarsh.simulator_engine._types import FunctionGraphNode as Node


@pytest.mark.parametrize("graph, message", [
    (Node("rotation", "f", [Node("feature", "close"), Node("feature", "open")]),
     "Function 'f' input feature 'open' has shape (10, 3), expected (10, 4)"),
    (Node("feature", "open"), "Feature 'open' has shape (10, 3), expected (10, 4)"),
])
def test_mismatched_feature_names_the_function_reading_it_or_else_the_feature(graph, message):
    ctx = make_context([np.zeros((10, 4)), np.zeros((10, 3))], {"close": 0, "open": 1}, validate_inputs=False)
    with pytest.raises(EvaluationShapeError) as err:
        ee.evaluate(graph, ctx, bound_function_instances={"root": Fn()}, data_nan_features=["volume"])
    assert str(err.value) == message


@pytest.mark.parametrize("states", [
    {}, {"root.c9": FunctionState("acc", 1, {})},
    {"root": FunctionState("acc", 1, {}), "extra": FunctionState("acc", 1, {})},
])
def test_function_states_must_match_the_state_keys(states):
    graph = Node("rotation", "acc", [Node("feature", "close")])
    with pytest.raises(EvaluationError, match="^Function state keys do not match graph tree structure$"):
        ee.evaluate(graph, make_context(), states, bound_function_instances={"root": Accumulator()})


def _warmup_graph(window):
    return Node("rotation", "acc", [Node("feature", "close"), Node("int", window)])


@pytest.mark.parametrize("window, restored, blanked", [
    (3, None, 2), (5, None, 4), (9, None, 4), (5, 1, 3), (5, 3, 1), (5, 25, 0), (2**63, None, 4), (2**63, 10, 4),
    (5, 10**20, 0), (5, -10**30, 4), (5, 2.5, 2), (2**70, 2**64, 4), (2**64 + 3, 2**64, 2)])
def test_warmup_rows_less_the_restored_count_are_blanked_in_the_weights_only(window, restored, blanked):
    ctx = make_context(registry=FakeRegistry({"acc": lambda: Accumulator(count=restored or 0)}, stateful={"acc"}))
    ctx._collect_node_outputs = True
    states = None if restored is None else {"root": FunctionState("acc", 1, {"count": restored})}
    out = ee.evaluate(_warmup_graph(window), ctx, states)
    assert np.isnan(out.weights[:blanked]).all() and not np.isnan(out.weights[blanked:]).any()
    np.testing.assert_array_equal(out.node_outputs["root"][blanked:], out.weights[blanked:])
    assert not np.isnan(out.node_outputs["root"]).any()


def test_warmup_past_64_bits_blanks_every_row():
    ctx = make_context(registry=FakeRegistry({"acc": Accumulator}, stateful={"acc"}))
    graph = Node("rotation", "acc", [_warmup_graph(2**62 + 1), Node("int", 2**62 + 1)])
    assert np.isnan(ee.evaluate(graph, ctx).weights).all()


def test_bound_instances_switch_the_warmup_off():
    ctx = make_context(registry=FakeRegistry({"acc": Accumulator}, stateful={"acc"}))
    out = ee.evaluate(_warmup_graph(5), ctx, bound_function_instances={"root": Accumulator()})
    assert not np.isnan(out.weights).any()
