"""End-to-end evaluations with the default registry's built-in functions."""
import numpy as np

from quillmarsh._reference.rank import rank_rows_reference
from quillmarsh._reference.rolling import rolling_reference
from quillmarsh.functions.registry import default_registry
from quillmarsh.simulator_engine import expression_evaluator as ee
from quillmarsh.simulator_engine._types import FunctionGraphNode as Node

from ..fast_paths.fakes import COMBINE, MEAN, ZSCORE, feature, rank, rolling

T, N = 120, 6

_rng = np.random.default_rng(11)
CLOSE = _rng.standard_normal((T, N)).cumsum(axis=0)
CLOSE[[4, 50, 51], [2, 0, 5]] = np.nan
VOLUME = _rng.random((T, N))
UNIVERSE = np.where(_rng.random((T, N)) < 0.1, 0.0, 1.0)


def _context():
    return ee.EvaluationContext([CLOSE, VOLUME], {"close": 0, "volume": 1}, registry=default_registry(),
                                universe=UNIVERSE)


CHAIN = rolling(ZSCORE, rolling(MEAN, feature(), window=5), window=20)


def test_nested_rolling_chain_matches_the_reference_with_warmup_blanked():
    weights, states = ee.evaluate(CHAIN, _context())
    expected = rolling_reference(rolling_reference(np.where(UNIVERSE == 0.0, np.nan, CLOSE), 5, MEAN), 20, ZSCORE)
    expected[:23] = np.nan
    np.testing.assert_array_equal(weights, expected)
    assert sorted(states) == ["root", "root.c0"]
    assert states["root"].function_name == ZSCORE and states["root"].data["count"] == T


def test_rank_product_through_the_row_loop():
    graph = Node("rotation", COMBINE, [rank(feature()), rank(feature("volume"))])
    weights, states = ee.evaluate(graph, _context(), data_nan_features=["unused"])
    np.testing.assert_array_equal(weights, rank_rows_reference(CLOSE, UNIVERSE) * rank_rows_reference(VOLUME, UNIVERSE))
    assert states == {}
