"""Data-NaN provenance: seeding from named features and precomputed tags, upward spreading."""
import numpy as np
import pytest

from quillmarsh.simulator_engine import expression_evaluator as ee
from quillmarsh.simulator_engine._types import FunctionGraphNode as Node
from quillmarsh.simulator_engine._types import UsefulSignal

T, N = 3, 2


class Const:
    """Returns a fixed row whatever its inputs; records how often it ran."""

    stateful = False

    def __init__(self, value=5.0):
        self.value = value
        self.calls = 0

    def __call__(self, *args):
        self.calls += 1
        return np.full(N, self.value)


def _context(**features):
    names = list(features)
    ctx = ee.EvaluationContext([np.asarray(features[name], dtype=float) for name in names],
                               {name: i for i, name in enumerate(names)}, universe=np.ones((T, N)))
    ctx._collect_states = False
    return ctx


FINITE = np.ones((T, N))
ALL_NAN = np.full((T, N), np.nan)


def _evaluate(graph, ctx, instances, **kwargs):
    return ee.evaluate(graph, ctx, bound_function_instances=instances, **kwargs)


@pytest.mark.parametrize("other, marked", [(FINITE, False), (ALL_NAN, True)])
def test_function_over_a_named_leaf_is_marked_only_when_all_children_are_nan(other, marked):
    graph = Node("rotation", "f", [Node("feature", "close"), Node("feature", "other")])
    out = _evaluate(graph, _context(close=FINITE, other=other), {"root": Const()}, data_nan_features=["close"])
    assert ("root" in out.nan_source) is marked
    assert out.nan_source["root.c0"] == "data_nan" and "root.c1" not in out.nan_source
    np.testing.assert_array_equal(np.isnan(out.weights), np.full((T, N), marked))
    np.testing.assert_array_equal(out.node_outputs["root.c0"], ALL_NAN)


def test_all_nan_children_without_a_mark_leave_the_output_alone():
    graph = Node("rotation", "f", [Node("feature", "close")])
    out = _evaluate(graph, _context(close=ALL_NAN, unused=FINITE), {"root": Const()}, data_nan_features=["unused"])
    assert out.nan_source == {}
    np.testing.assert_array_equal(out.weights, np.full((T, N), 5.0))


def test_marks_spread_up_a_chain_and_stay():
    close = FINITE.copy()
    graph = Node("rotation", "g", [Node("rotation", "f", [Node("feature", "close")])])
    g = Const(7.0)
    out = _evaluate(graph, _context(close=close), {"root": g, "root.c0": Const()}, data_nan_features=["close"])
    assert out.nan_source == {"root.c0.c0": "data_nan", "root.c0": "data_nan", "root": "data_nan"}
    assert np.isnan(out.weights).all() and g.calls == T


def test_marked_node_is_replaced_again_only_when_its_children_are_all_nan():
    other = np.array([[np.nan, np.nan], [1.0, np.nan], [np.nan, np.nan]])
    graph = Node("rotation", "f", [Node("feature", "close"), Node("feature", "other")])
    out = _evaluate(graph, _context(close=FINITE, other=other), {"root": Const()}, data_nan_features=["close"])
    assert out.nan_source["root"] == "data_nan"
    np.testing.assert_array_equal(out.weights, [[np.nan] * 2, [5.0] * 2, [np.nan] * 2])


def test_precomputed_tag_seeds_tracking_and_spreads():
    inner = Node("rotation", "f", [Node("feature", "close")], canonical_id="cid-f")
    ctx = _context(close=FINITE)
    ctx._precomputed_node_outputs = {"cid-f": np.full(N, np.nan)}
    ctx._precomputed_node_nan_source = {"cid-f": "data_nan"}
    out = _evaluate(Node("rotation", "g", [inner]), ctx, {"root": Const(), "root.c0": Const()})
    assert out.nan_source == {"root.c0": "data_nan", "root": "data_nan"}
    assert np.isnan(out.weights).all()


@pytest.mark.parametrize("tag", ["stale", None])
def test_other_precomputed_tags_do_not_mark(tag):
    inner = Node("feature", "close", canonical_id="cid-c")
    ctx = _context(close=ALL_NAN)
    ctx._precomputed_node_nan_source = {"cid-c": tag}
    out = _evaluate(Node("rotation", "g", [inner]), ctx, {"root": Const()})
    assert out.nan_source == {}


def test_reduction_without_data_children_is_never_marked_but_counts_as_nan_child():
    ctx = _context(close=FINITE)
    ctx.useful_signals = {"a": UsefulSignal(weights=ALL_NAN)}
    graph = Node("rotation", "f", [Node("feature", "close"), Node("reduction", "r")])
    out = _evaluate(graph, ctx, {"root": Const(), "root.c1": Const()}, data_nan_features=["close"])
    assert out.nan_source == {"root.c0": "data_nan", "root": "data_nan"}
