import numpy as np
import pytest

from quillmarsh.simulator_engine import expression_evaluator as ee
from quillmarsh.simulator_engine._types import EvaluationError, FunctionGraphNode as Node

UNIVERSE_ROW = [0.0, -0.0, np.nan, 1.0, 0.5, np.inf, -2.0]
EXPECTED_LIVE = [False, False, False, True, True, True, True]


def _context(data, universe=None, **kwargs):
    return ee.EvaluationContext([data], {"close": 0}, universe=universe, **kwargs)


@pytest.mark.parametrize("shape", [(7,), (3, 7)])
def test_masking_rule_per_cell(shape):
    data = np.arange(np.prod(shape), dtype=float).reshape(shape) + 1
    universe = np.broadcast_to(np.array(UNIVERSE_ROW), shape).copy()
    before = data.copy()
    out = ee._apply_universe_mask(data, universe)
    np.testing.assert_array_equal(np.isnan(out), np.broadcast_to(~np.array(EXPECTED_LIVE), shape))
    np.testing.assert_array_equal(out[~np.isnan(out)], data[np.broadcast_to(EXPECTED_LIVE, shape)])
    np.testing.assert_array_equal(data, before)
    assert out.dtype == np.float64


@pytest.mark.parametrize("graph_type, name, states, nan_features, expected", [
    ("feature", "close", None, None, True), ("aggregation", "close", {}, [], True),
    ("feature", "close", {"root": 1}, None, False), ("feature", "close", None, ["close"], False),
    ("feature", "open", None, None, False), ("rotation", "close", None, None, False),
])
def test_leaf_detector(graph_type, name, states, nan_features, expected):
    ctx = _context(np.ones((2, 2)))
    assert ee._can_use_leaf_fast_path(Node(graph_type, name), ctx, states, data_nan_features=nan_features) is expected


@pytest.mark.parametrize("data, register", [
    (np.arange(6.0).reshape(2, 3), [[3.0, 4.0, 5.0]]), (np.ones((0, 3)), [[0.0, 0.0, 0.0]])])
def test_leaf_without_universe_shares_the_feature_matrix_and_keeps_its_last_row_or_zeros(data, register):
    ctx = _context(data)
    assert ee._evaluate_leaf_fast(Node("feature", "close"), ctx) is data
    np.testing.assert_array_equal(ctx.registers, register)


def test_leaf_converts_non_float_and_non_contiguous_input():
    data = np.arange(12, dtype=np.int32).reshape(3, 4)[:, ::2]
    out = ee._evaluate_leaf_fast(Node("feature", "close"), _context(data, validate_inputs=False))
    assert out.dtype == np.float64 and out.flags.c_contiguous
    np.testing.assert_array_equal(out, data)


def test_feature_matrix_for_fast_path():
    ctx = _context(np.array([[1.0, 2.0]]), universe=np.array([[1.0, 0.0]]))
    np.testing.assert_array_equal(ee._feature_matrix_for_fast_path(Node("feature", "close"), ctx), [[1.0, np.nan]])
    with pytest.raises(EvaluationError, match=r"^Feature 'volume' not in context$"):
        ee._feature_matrix_for_fast_path(Node("feature", "volume"), ctx)
