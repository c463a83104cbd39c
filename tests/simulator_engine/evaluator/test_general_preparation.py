"""Preparation checks: feature shapes, function-state keys and warm-up rows."""
import numpy as np
import pytest
from .general_fakes import Accumulator, Fn, FakeRegistry, make_context

from quillmarsh.simulator_engine import expression_evaluator as ee
from quillmarsh.simulator_engine._types import EvaluationError, EvaluationShapeError, FunctionState
from quillmarsh.simulator_engine._types import FunctionGraphNode as Node


def _mismatched_context(**kwargs):
    return make_context([np.zeros((10, 4)), np.zeros((10, 3))], {"close": 0, "open": 1}, universe=None,
                        validate_inputs=False, **kwargs)


def test_feature_read_by_a_function_names_the_function():
    graph = Node("rotation", "f", [Node("feature", "close"), Node("feature", "open")])
    with pytest.raises(EvaluationShapeError) as err:
        ee.evaluate(graph, _mismatched_context(), bound_function_instances={"root": Fn()})
    assert str(err.value) == "Function 'f' input feature 'open' has shape (10, 3), expected (10, 4)"


def test_feature_without_a_named_parent_uses_the_feature_form():
    ctx = make_context([np.zeros((10, 3)), np.zeros((10, 4))], {"open": 0, "close": 1}, universe=None,
                       validate_inputs=False)
    with pytest.raises(EvaluationShapeError) as err:
        ee.evaluate(Node("feature", "close"), ctx, data_nan_features=["volume"])
    assert str(err.value) == "Feature 'close' has shape (10, 4), expected (10, 3)"


def _stateful_graph():
    return Node("rotation", "acc", [Node("feature", "close")])


@pytest.mark.parametrize("states", [
    {},
    {"root.c9": FunctionState("acc", 1, {})},
    {"root": FunctionState("acc", 1, {}), "extra": FunctionState("acc", 1, {})},
])
def test_function_states_must_match_the_state_keys(states):
    with pytest.raises(EvaluationError, match="^Function state keys do not match graph tree structure$"):
        ee.evaluate(_stateful_graph(), make_context(), states, bound_function_instances={"root": Accumulator()})


def test_absent_function_states_skip_the_key_check():
    ctx = make_context()
    ctx._collect_states = False
    acc = Accumulator()
    ee.evaluate(_stateful_graph(), ctx, bound_function_instances={"root": acc})
    assert acc.count == 4


def _warmup_graph(window=5):
    return Node("rotation", "acc", [Node("feature", "close"), Node("int", window)])


@pytest.mark.parametrize("window, blanked", [(3, 2), (5, 4), (9, 4)])
def test_warmup_rows_are_blanked_in_the_weights_only(window, blanked):
    ctx = make_context(registry=FakeRegistry({"acc": Accumulator}, stateful={"acc"}))
    ctx._collect_node_outputs = True
    out = ee.evaluate(_warmup_graph(window), ctx)
    assert np.isnan(out.weights[:blanked]).all() and not np.isnan(out.weights[blanked:]).any()
    np.testing.assert_array_equal(out.node_outputs["root"][blanked:], out.weights[blanked:])
    assert not np.isnan(out.node_outputs["root"]).any()


@pytest.mark.parametrize("restored_count, blanked", [(1, 3), (3, 1), (25, 0)])
def test_restored_instances_shorten_the_warmup(restored_count, blanked):
    registry = FakeRegistry({"acc": lambda: Accumulator(count=restored_count)}, stateful={"acc"})
    ctx = make_context(registry=registry)
    states = {"root": FunctionState("acc", 1, {"count": restored_count})}
    out = ee.evaluate(_warmup_graph(5), ctx, states)
    assert np.isnan(out.weights[:blanked]).all() and not np.isnan(out.weights[blanked:]).any()
    assert registry.created[0][0] == "create_instance_from_state"


def test_bound_instances_switch_the_warmup_off():
    ctx = make_context(registry=FakeRegistry({"acc": Accumulator}, stateful={"acc"}))
    ctx._collect_states = False
    out = ee.evaluate(_warmup_graph(5), ctx, bound_function_instances={"root": Accumulator()})
    assert not np.isnan(out.weights).any()
