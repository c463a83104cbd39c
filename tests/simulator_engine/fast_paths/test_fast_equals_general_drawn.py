"""Drawn data: every fast path gives exactly the general evaluator's cells, NaN positions included."""
import numpy as np
from hypothesis import given, strategies as st

from quillmarsh.functions.registry import default_registry
from quillmarsh.simulator_engine import expression_evaluator as ee
from quillmarsh.simulator_engine._types import FunctionGraphNode as Node

from ...strategies import WINDOWS, matrices_with_universe
from .fakes import COMBINE, MEAN, STD, ZSCORE, feature, rank, rolling

STATISTICS = st.sampled_from([MEAN, STD, ZSCORE])


def _context(data, universe):
    return ee.EvaluationContext([data, data[::-1].copy()], {"close": 0, "open": 1},
                                registry=default_registry(), universe=universe)


def _general(graph, data, universe):
    return ee.evaluate(graph, _context(data, universe), data_nan_features=["unused"]).weights


@given(matrices_with_universe(), st.lists(st.tuples(STATISTICS, WINDOWS), min_size=1, max_size=3))
def test_longitudinal_chains(drawn, levels):
    data, universe = drawn
    graph = feature()
    for name, window in levels:
        graph = rolling(name, graph, window=window)
    fast = ee._evaluate_longitudinal_fast(graph, _context(data, universe))
    np.testing.assert_array_equal(fast, _general(graph, data, universe))


@given(matrices_with_universe())
def test_leaf_and_rank_paths(drawn):
    data, universe = drawn
    cases = [(feature(), ee._evaluate_leaf_fast), (rank(feature()), ee._evaluate_simple_rank_fast),
             (Node("rotation", COMBINE, [rank(feature()), rank(feature("open"))]), ee._evaluate_rank_multiply_fast)]
    for graph, fast in cases:
        np.testing.assert_array_equal(fast(graph, _context(data, universe)), _general(graph, data, universe))
