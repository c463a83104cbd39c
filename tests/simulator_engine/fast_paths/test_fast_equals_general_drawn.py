"""Drawn data and graphs: every fast path gives exactly the general evaluator's cells, NaN positions
included, and streaming the rows in chunks gives the one-shot cells and states."""
import numpy as np
import pytest
from hypothesis import given, strategies as st

from quillmarsh.functions.registry import default_registry
from quillmarsh.simulator_engine import expression_evaluator as ee
from quillmarsh.simulator_engine._types import FunctionGraphNode as Node

from ...strategies import WINDOWS, matrices_with_universe
from ..operators.python_call import assert_same_states
from .fakes import COMBINE, MEAN, STD, ZSCORE, feature, rank, rolling

STATISTICS = st.sampled_from([MEAN, STD, ZSCORE])
# Windows longer than any run (past 64 bits too) leave every row warm-up NaN on every path.
ANY_WINDOW = WINDOWS | st.sampled_from([10**12, 2**63])
DEMEAN = "cross_sectional_demean_5e2a7c"
SCALE = "cross_sectional_scale_c81f06"


def _wrap(children):
    return st.one_of(
        children.map(rank),
        st.tuples(STATISTICS, children, ANY_WINDOW).map(lambda drawn: rolling(drawn[0], drawn[1], window=drawn[2])),
        st.tuples(children, children).map(lambda pair: Node("rotation", COMBINE, list(pair))),
        children.map(lambda child: Node("rotation", DEMEAN, [child])),
        children.map(lambda child: Node("rotation", SCALE, [child, Node("float", 2.0)])),
    )


BUILTIN_GRAPHS = st.recursive(st.sampled_from(["close", "open"]).map(feature), _wrap, max_leaves=4)


def _context(data, universe):
    return ee.EvaluationContext([data, data[::-1].copy()], {"close": 0, "open": 1},
                                registry=default_registry(), universe=universe)


def _general(graph, data, universe):
    return ee.evaluate(graph, _context(data, universe), data_nan_features=["unused"]).weights


@given(matrices_with_universe())
def test_leaf_and_rank_paths(drawn):
    data, universe = drawn
    cases = [(feature(), ee._evaluate_leaf_fast), (rank(feature()), ee._evaluate_simple_rank_fast),
             (Node("rotation", COMBINE, [rank(feature()), rank(feature("open"))]), ee._evaluate_rank_multiply_fast)]
    for graph, fast in cases:
        np.testing.assert_array_equal(fast(graph, _context(data, universe)), _general(graph, data, universe))


# (predicate, kernel) of each fast path; a kernel may decline with None.
FAST_PATHS = [
    (lambda graph, ctx: ee._can_use_leaf_fast_path(graph, ctx, None), ee._evaluate_leaf_fast),
    (lambda graph, ctx: ee._can_use_simple_rank_fast_path(graph, ctx, None), ee._evaluate_simple_rank_fast),
    (lambda graph, ctx: ee._can_use_rank_multiply_fast_path(graph, ctx, None), ee._evaluate_rank_multiply_fast),
    # Asked about the graph's shape only: drawn matrices are far below the path's row threshold.
    (lambda graph, ctx: ee._can_use_longitudinal_fast_path(graph, ctx, None, ee._LONGITUDINAL_FAST_MIN_ROWS),
     ee._evaluate_longitudinal_fast),
]


def _rows_context(data, universe, rows=slice(None)):
    """The context of `_context(data, universe)` restricted to `rows`."""
    return ee.EvaluationContext([data[rows], data[::-1][rows]], {"close": 0, "open": 1},
                                registry=default_registry(), universe=universe[rows])


@pytest.mark.filterwarnings("ignore:invalid value encountered:RuntimeWarning")  # transforms over infinities
@given(BUILTIN_GRAPHS, matrices_with_universe(), st.lists(st.integers(1, 39), max_size=3, unique=True))
def test_drawn_graphs_agree_on_every_path_and_when_streamed(graph, drawn, cuts):
    data, universe = drawn
    whole = ee.evaluate(graph, _rows_context(data, universe), data_nan_features=["unused"])
    for applies, kernel in FAST_PATHS:
        ctx = _rows_context(data, universe)
        if applies(graph, ctx):
            fast = kernel(graph, ctx)
            if fast is not None:
                np.testing.assert_array_equal(fast, whole.weights)
    bounds = [0, *sorted(cut for cut in cuts if cut < len(data)), len(data)]
    pieces, states = [], None
    for start, stop in zip(bounds, bounds[1:]):
        part = ee.evaluate(graph, _rows_context(data, universe, slice(start, stop)), states,
                           data_nan_features=["unused"])
        pieces.append(part.weights)
        states = part.states
    np.testing.assert_array_equal(np.vstack(pieces), whole.weights)
    assert_same_states(states, whole.states)
