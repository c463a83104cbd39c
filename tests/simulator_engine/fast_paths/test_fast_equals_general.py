"""Each fast path gives the cells the general evaluator gives for the same graph and context."""
import numpy as np
import pytest

from quillmarsh.functions.registry import default_registry
from quillmarsh.simulator_engine import expression_evaluator as ee
from quillmarsh.simulator_engine._types import FunctionGraphNode as Node

from .fakes import COMBINE, MEAN, STD, ZSCORE, feature, rank, rolling

T, N = 120, 5


def _context():
    rng = np.random.default_rng(21)
    close = rng.standard_normal((T, N)).cumsum(axis=0)
    close[[3, 40, 41], [1, 0, 4]] = np.nan
    volume = rng.random((T, N))
    volume[7, 2] = np.inf
    universe = np.where(rng.random((T, N)) < 0.1, 0.0, 1.0)
    return ee.EvaluationContext([close, volume], {"close": 0, "open": 1}, registry=default_registry(),
                                universe=universe)


@pytest.mark.parametrize(
    "graph",
    [
        rolling(MEAN, feature(), window=1),
        rolling(ZSCORE, rolling(MEAN, feature(), window=5), window=20),
        rolling(STD, rolling(ZSCORE, feature("open"), window=4), window=3),
    ],
)
def test_longitudinal_path(graph):
    general, _ = ee.evaluate(graph, _context())  # T is below the path's threshold
    np.testing.assert_array_equal(ee._evaluate_longitudinal_fast(graph, _context()), general)


@pytest.mark.parametrize(
    "graph, fast",
    [
        (rank(feature()), ee._evaluate_simple_rank_fast),
        (Node("rotation", COMBINE, [rank(feature()), rank(feature("open"))]), ee._evaluate_rank_multiply_fast),
    ],
)
def test_rank_paths(graph, fast):
    general, _ = ee.evaluate(graph, _context(), data_nan_features=["unused"])  # refuses the fast paths
    np.testing.assert_array_equal(fast(graph, _context()), general)
