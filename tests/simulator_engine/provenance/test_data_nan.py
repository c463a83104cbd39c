"""Data-NaN provenance: seeding from named features and precomputed tags, upward spreading."""
import numpy as np
import pytest

from quillmarsh.simulator_engine import expression_evaluator as ee
from quillmarsh.simulator_engine._types import FunctionGraphNode as Node, UsefulSignal

from ..evaluator.general_fakes import Fn, make_context

T, N = 3, 2


def const(value=5.0):
    """A stateless instance returning a fixed row whatever its inputs; `calls` records its runs."""
    return Fn(lambda *args: np.full(N, value))


def _context(**features):
    return make_context([np.asarray(m, float) for m in features.values()], {name: i for i, name in enumerate(features)})


FINITE = np.ones((T, N))
ALL_NAN = np.full((T, N), np.nan)
MIXED = np.array([[np.nan, np.nan], [1.0, np.nan], [np.nan, np.nan]])


def _evaluate(graph, ctx, instances, **kwargs):
    return ee.evaluate(graph, ctx, bound_function_instances=instances, **kwargs)


@pytest.mark.parametrize("other, nan_rows", [(FINITE, []), (ALL_NAN, [0, 1, 2]), (MIXED, [0, 2])])
def test_function_over_a_marked_leaf_is_emptied_on_rows_where_all_its_children_are_nan(other, nan_rows):
    graph = Node("rotation", "f", [Node("feature", "close"), Node("feature", "other")])
    out = _evaluate(graph, _context(close=FINITE, other=other), {"root": const()}, data_nan_features=["close"])
    assert out.nan_source.get("root") == ("data_nan" if nan_rows else None)
    assert out.nan_source["root.c0"] == "data_nan" and "root.c1" not in out.nan_source
    expected = np.full((T, N), 5.0)
    expected[nan_rows] = np.nan
    np.testing.assert_array_equal(out.weights, expected)
    np.testing.assert_array_equal(out.node_outputs["root.c0"], ALL_NAN)


def test_all_nan_children_without_a_mark_leave_the_output_alone():
    graph = Node("rotation", "f", [Node("feature", "close")])
    out = _evaluate(graph, _context(close=ALL_NAN, unused=FINITE), {"root": const()}, data_nan_features=["unused"])
    assert out.nan_source == {}
    np.testing.assert_array_equal(out.weights, np.full((T, N), 5.0))


def test_marks_spread_up_a_chain_and_stay():
    graph = Node("rotation", "g", [Node("rotation", "f", [Node("feature", "close")])])
    g = const(7.0)
    out = _evaluate(graph, _context(close=FINITE), {"root": g, "root.c0": const()}, data_nan_features=["close"])
    assert out.nan_source == {"root.c0.c0": "data_nan", "root.c0": "data_nan", "root": "data_nan"}
    assert np.isnan(out.weights).all() and len(g.calls) == T


@pytest.mark.parametrize("tag, marked", [("data_nan", True), ("stale", False), (None, False)])
def test_only_a_data_nan_tag_on_a_precomputed_node_seeds_tracking(tag, marked):
    inner = Node("rotation", "f", [Node("feature", "close")], canonical_id="cid-f")
    ctx = _context(close=FINITE)
    ctx._precomputed_node_outputs = {"cid-f": np.full(N, np.nan)}
    ctx._precomputed_node_nan_source = {"cid-f": tag}
    out = _evaluate(Node("rotation", "g", [inner]), ctx, {"root": const(), "root.c0": const()})
    assert out.nan_source == ({"root.c0": "data_nan", "root": "data_nan"} if marked else {})
    np.testing.assert_array_equal(out.weights, np.full((T, N), np.nan if marked else 5.0))


def test_reduction_without_data_children_is_never_marked_but_counts_as_nan_child():
    ctx = _context(close=FINITE)
    ctx.useful_signals = {"a": UsefulSignal(weights=ALL_NAN)}
    graph = Node("rotation", "f", [Node("feature", "close"), Node("reduction", "r")])
    out = _evaluate(graph, ctx, {"root": const(), "root.c1": const()}, data_nan_features=["close"])
    assert out.nan_source == {"root.c0": "data_nan", "root": "data_nan"}
