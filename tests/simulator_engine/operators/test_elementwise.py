"""Element-wise native operators against their NumPy twins on drawn rows."""
import numpy as np
import pytest
from hypothesis import given, strategies as st
from hypothesis.extra import numpy as hnp

from quillmarsh._reference.elementwise import ELEMENTWISE_REFERENCES
from quillmarsh.simulator_engine.expression_evaluator import NativeFunction, _operator_table

from ...strategies import CELL

ELEMENTWISE = [row for row in _operator_table() if row["family"] == "elementwise"]
# The C library's pow and log against NumPy's vectorised loops: equal within an ulp or two on
# finite inputs; at infinities the two differ (NumPy's pow(-inf, 0.5) is NaN, C's is inf), so
# those conventions are pinned by chosen cells instead.
TRANSCENDENTAL = {"power", "power_scalar", "rpower_scalar", "signedpower", "log"}
PARAM_VALUE = st.one_of(st.sampled_from([0.0, -0.0, 1.0, -1.0, 2.0, 0.5, 3.0, np.nan, np.inf, -np.inf]),
                        st.floats(-1e3, 1e3))


@st.composite
def rows_and_params(draw, row):
    n = draw(st.integers(0, 12))
    rows = [draw(hnp.arrays(np.float64, n, elements=CELL)) for _ in range(row["arity"])]
    params = {item["name"]: draw(PARAM_VALUE) for item in row["param_schema"] or []}
    return rows, params


def test_every_elementwise_operator_has_a_reference_twin():
    assert sorted(ELEMENTWISE_REFERENCES) == sorted(row["name"] for row in ELEMENTWISE)


@pytest.mark.parametrize("row", ELEMENTWISE, ids=lambda row: row["alias"])
@given(data=st.data())
def test_native_cells_equal_the_reference_twin(row, data):
    rows, params = data.draw(rows_and_params(row))
    originals = [r.copy() for r in rows]
    with np.errstate(all="ignore"):
        expected = ELEMENTWISE_REFERENCES[row["name"]](rows, params)
    out = NativeFunction(row["name"], **params)(*rows)
    assert out.dtype == np.float64 and out.shape == expected.shape
    if row["alias"] in TRANSCENDENTAL:
        finite_params = all(np.isfinite(value) for value in params.values())
        finite = np.all([np.isfinite(r) for r in rows], axis=0) & finite_params
        np.testing.assert_allclose(out[finite], expected[finite], rtol=1e-15, atol=0, err_msg=f"{rows} {params}")
    else:
        np.testing.assert_array_equal(out, expected, err_msg=f"{rows} {params}")
    for given_row, original in zip(rows, originals):
        np.testing.assert_array_equal(given_row, original)
        assert out is not given_row


@pytest.mark.parametrize("name, rows, expected", [
    ("elementwise_less_0b439c", [[np.nan, 1.0], [1.0, np.nan]], [0.0, 0.0]),
    ("elementwise_not_equal_72645a", [[np.nan, np.nan], [np.nan, 1.0]], [1.0, 1.0]),
    ("elementwise_equal_f57b2d", [[np.nan, -0.0], [np.nan, 0.0]], [0.0, 1.0]),
    ("elementwise_logical_and_827670", [[np.nan, 0.0, 2.0], [1.0, 1.0, -3.0]], [1.0, 0.0, 1.0]),
    ("elementwise_logical_not_a2bb82", [[np.nan, 0.0, -0.0, 5.0]], [0.0, 1.0, 1.0, 0.0]),
    ("elementwise_where_46148c", [[np.nan, 0.0, 2.0], [1.0, 1.0, 1.0], [9.0, 9.0, 9.0]], [np.nan, 9.0, 1.0]),
    ("elementwise_maximum_e77a31", [[np.nan, 1.0, -np.inf], [1.0, np.nan, 2.0]], [np.nan, np.nan, 2.0]),
    ("elementwise_sign_81e920", [[np.nan, -0.0, -np.inf, 3.0]], [np.nan, 0.0, -1.0, 1.0]),
    ("elementwise_log_7babc2", [[0.0, -1.0, np.inf, np.nan, 1.0]], [-np.inf, np.nan, np.inf, np.nan, 0.0]),
    ("elementwise_power_b573f2", [[np.nan, 1.0, -np.inf, -8.0, 0.0, -0.0], [0.0, np.nan, 0.5, 1 / 3, -1.0, -1.0]],
     [1.0, 1.0, np.inf, np.nan, np.inf, -np.inf]),
])
def test_conventions_on_chosen_cells(name, rows, expected):
    out = NativeFunction(name)(*(np.array(r) for r in rows))
    np.testing.assert_array_equal(out, expected)


@pytest.mark.parametrize("name, value, x, expected", [
    ("elementwise_rsub_scalar_f0a004", 1.0, [3.0, np.nan], [-2.0, np.nan]),
    ("elementwise_rdiv_scalar_258a05", 1.0, [4.0, 0.0], [0.25, np.inf]),
    ("elementwise_rpower_scalar_99cde3", 2.0, [3.0, -1.0], [8.0, 0.5]),
    ("elementwise_power_scalar_ce4fd6", 2.0, [-3.0, np.nan], [9.0, np.nan]),
    ("elementwise_constant_like_09a791", 7.5, [np.nan, 1.0], [7.5, 7.5]),
])
def test_constant_operand_side(name, value, x, expected):
    np.testing.assert_array_equal(NativeFunction(name, value=value)(np.array(x)), expected)


@pytest.mark.parametrize("a, expected", [(2, [-9.0, 0.0, 4.0, np.nan, -np.inf]),
                                         (0.5, [-np.sqrt(3.0), 0.0, np.sqrt(2.0), np.nan, -np.inf]),
                                         (0.0, [-1.0, 0.0, 1.0, np.nan, -1.0])])
def test_signedpower_keeps_the_sign(a, expected):
    out = NativeFunction("elementwise_signedpower_ab70ca", a=a)(np.array([-3.0, 0.0, 2.0, np.nan, -np.inf]))
    np.testing.assert_array_equal(out, expected)
