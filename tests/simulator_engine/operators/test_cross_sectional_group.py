"""Cross-sectional z-score and group neutralisation against their NumPy twins, and their conventions."""
import numpy as np
import pytest
from hypothesis import given, strategies as st
from hypothesis.extra import numpy as hnp

from quillmarsh._reference.cross_sectional import cs_zscore
from quillmarsh._reference.group import indneutralize
from quillmarsh.functions.registry import default_registry
from quillmarsh.simulator_engine import expression_evaluator as ee
from quillmarsh.simulator_engine._types import FunctionGraphNode as Node
from quillmarsh.simulator_engine.expression_evaluator import NativeFunction

from ...strategies import CELL

ZSCORE = "cross_sectional_zscore_5f22cf"
NEUTRALIZE = "group_neutralize_178388"
# Few codes, so groups of one and of many both occur; NaN codes leave cells out.
CODE = st.sampled_from([0.0, 1.0, 1.0, 2.0, 7.5, -0.0, np.nan, np.inf])


@given(x=hnp.arrays(np.float64, st.integers(0, 12), elements=st.one_of(CELL, st.just(2.0))))
def test_zscore_equals_the_twin(x):
    original = x.copy()
    out = NativeFunction(ZSCORE)(x)
    np.testing.assert_array_equal(out, cs_zscore(x[None, :])[0], err_msg=str(x))
    np.testing.assert_array_equal(x, original)


@given(data=st.data())
def test_neutralize_equals_the_twin(data):
    n = data.draw(st.integers(0, 12))
    x = data.draw(hnp.arrays(np.float64, n, elements=CELL))
    codes = data.draw(hnp.arrays(np.float64, n, elements=CODE))
    out = NativeFunction(NEUTRALIZE)(x, codes)
    np.testing.assert_array_equal(out, indneutralize(x[None, :], codes[None, :])[0], err_msg=f"{x} {codes}")


@given(data=st.data())
def test_neutralize_follows_code_rows_that_repeat_and_change(data):
    """One instance over many rows: its grouping must follow every change of the code row."""
    n = data.draw(st.integers(1, 8))
    code_rows = data.draw(st.lists(hnp.arrays(np.float64, n, elements=CODE), min_size=1, max_size=3))
    order = data.draw(st.lists(st.integers(0, len(code_rows) - 1), min_size=1, max_size=12))
    codes = np.array([code_rows[i] for i in order])
    x = data.draw(hnp.arrays(np.float64, codes.shape, elements=CELL))
    instance = NativeFunction(NEUTRALIZE)
    out = np.array([instance(row_x, row_codes) for row_x, row_codes in zip(x, codes)])
    np.testing.assert_array_equal(out, indneutralize(x, codes), err_msg=f"{x} {codes}")


@pytest.mark.parametrize("x, expected", [
    ([1.0, 3.0, np.nan], [-1.0, 1.0, np.nan]),
    ([2.0, 2.0, np.nan], [0.0, 0.0, np.nan]),
    ([5.0], [0.0]),
    ([np.nan, np.nan], [np.nan, np.nan]),
    ([1.0, np.inf], [np.nan, np.nan]),
])
def test_zscore_conventions(x, expected):
    np.testing.assert_array_equal(NativeFunction(ZSCORE)(np.array(x)), expected)


@pytest.mark.parametrize("x, codes, expected", [
    ([1.0, 3.0, 10.0, 4.0], [0.0, 0.0, 1.0, -0.0], [1 - 8 / 3, 3 - 8 / 3, 0.0, 4 - 8 / 3]),
    ([1.0, np.nan, 5.0], [2.0, 2.0, 2.0], [-2.0, np.nan, 2.0]),
    ([1.0, 2.0, 5.0], [2.0, np.nan, 2.0], [-2.0, np.nan, 2.0]),
    ([7.0], [3.0], [0.0]),
])
def test_neutralize_conventions(x, codes, expected):
    out = NativeFunction(NEUTRALIZE)(np.array(x), np.array(codes))
    np.testing.assert_allclose(out, expected, rtol=1e-14)


def test_neutralize_takes_group_codes_from_a_feature_through_evaluate():
    rng = np.random.default_rng(5)
    x = rng.standard_normal((30, 8))
    x[3, 2] = np.nan
    sectors = np.tile(rng.integers(0, 3, 8).astype(float), (30, 1))
    graph = Node("rotation", NEUTRALIZE, [Node("feature", "x"), Node("feature", "sector")])
    context = ee.EvaluationContext([x, sectors], {"x": 0, "sector": 1}, registry=default_registry(),
                                   universe=np.ones_like(x))
    weights, states = ee.evaluate(graph, context)
    np.testing.assert_array_equal(weights, indneutralize(x, sectors))
    assert states == {}
