"""The built-ins that became native operators keep their cells bit for bit."""
import numpy as np
import pytest
from hypothesis import given, strategies as st
from hypothesis.extra import numpy as hnp

from quillmarsh._reference.cross_sectional import demean_reference, scale_reference
from quillmarsh._reference.rank import rank_row_reference
from quillmarsh.simulator_engine.expression_evaluator import NativeFunction

from ...cells import assert_same_bits
from ...strategies import CELL

# Lengths on both sides of NumPy's 8-value and 128-value summation blocks.
ROWS = st.integers(0, 300).flatmap(lambda n: hnp.arrays(np.float64, n, elements=CELL))
PORTS = {
    "latitudinal_rank_688068": (lambda row, target: rank_row_reference(row), {}),
    "cross_sectional_demean_5e2a7c": (lambda row, target: demean_reference(row), {}),
    "cross_sectional_scale_c81f06": (scale_reference, {"target": 1.0}),
}


@pytest.mark.parametrize("name", PORTS)
@given(row=ROWS, target=st.sampled_from([1.0, -2.5, 0.0, 1e-3]))
def test_ported_cells_equal_the_python_built_ins(name, row, target):
    reference, config = PORTS[name]
    config = {key: target for key in config}
    with np.errstate(all="ignore"):
        expected = reference(row, target)
    out = NativeFunction(name, **config)(row)
    assert_same_bits(out, expected)


@given(row=hnp.arrays(np.float64, st.integers(129, 400), elements=st.floats(-1e6, 1e6)))
def test_demean_follows_numpy_summation_on_long_rows(row):
    np.testing.assert_array_equal(NativeFunction("cross_sectional_demean_5e2a7c")(row), demean_reference(row))


def test_scale_default_target_is_one():
    out = NativeFunction("cross_sectional_scale_c81f06")(np.array([1.0, -3.0, np.nan]))
    np.testing.assert_array_equal(out, [0.25, -0.75, np.nan])
