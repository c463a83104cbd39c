import numpy as np
import pytest
from hypothesis import given, strategies as st
from hypothesis.extra import numpy as hnp

from quillmarsh._reference.rolling import rolling_reference
from quillmarsh.functions.builtins.longitudinal import ROLLING_MEAN, ROLLING_STD, ROLLING_ZSCORE
from quillmarsh.simulator_engine import expression_evaluator as ee

NAMES = [ROLLING_MEAN, ROLLING_STD, ROLLING_ZSCORE]
nan, inf = np.nan, np.inf


def _roll_column(values, window, name):
    return ee._rolling_longitudinal_fast(np.array(values, dtype=float)[:, None], window, name)[:, 0]


@pytest.mark.parametrize("values, window, name, expected", [
    ([1, 2, nan, 4, 5, 6], 2, ROLLING_MEAN, [nan, 1.5, nan, nan, 4.5, 5.5]),
    ([2, 4, 4, 4, 5, 5, 7, 9], 8, ROLLING_STD, [nan] * 7 + [2.0]),
    ([2, 4, 4, 4, 5, 5, 7, 9], 8, ROLLING_ZSCORE, [nan] * 7 + [2.0]),
    ([3, 3, 3, 3], 3, ROLLING_STD, [nan, nan, 0.0, 0.0]), ([3, 3, 3, 3], 3, ROLLING_ZSCORE, [nan, nan, 0.0, 0.0]),
    ([1.5, nan, -2.0], 1, ROLLING_ZSCORE, [0.0, nan, 0.0]),
    # Once an infinity is in the prefix sums, later windows are inf - inf.
    ([1, inf, 2, 3, 4], 2, ROLLING_MEAN, [nan, inf, inf, nan, nan]),
    ([1, 2, 3], 4, ROLLING_MEAN, [nan, nan, nan]), ([1, 2, 3], 3, ROLLING_MEAN, [nan, nan, 2.0]),
])
def test_hand_checked_columns(values, window, name, expected):
    np.testing.assert_array_equal(_roll_column(values, window, name), expected)


def test_input_is_never_modified_and_output_is_a_new_c_matrix():
    data = np.asfortranarray(np.arange(24.0).reshape(6, 4))
    data[2, 1] = nan
    before = data.copy()
    out = ee._rolling_longitudinal_fast(data, 3, ROLLING_ZSCORE)
    np.testing.assert_array_equal(data, before)
    assert out.dtype == np.float64 and out.flags.c_contiguous and out.shape == data.shape


@pytest.mark.parametrize("window, data", [(0, np.ones((3, 2))), (-1, np.ones((3, 2))), (2, np.ones(3))])
def test_bad_arguments_raise_value_error(window, data):
    with pytest.raises(ValueError):
        ee._rolling_longitudinal_fast(data, window, ROLLING_MEAN)


# Constant runs, holes, infinities and signed zeros among moderate and extreme finite values.
_cells = st.one_of(st.just(3.0), st.just(nan), st.sampled_from([inf, -inf, 0.0, -0.0]), st.floats(-1e3, 1e3),
                   st.floats(allow_nan=False, allow_infinity=False))


@given(data=hnp.arrays(np.float64, st.tuples(st.integers(0, 45), st.integers(1, 4)), elements=_cells),
       window=st.sampled_from([1, 2, 3, 8, 20]), name=st.sampled_from(NAMES))
def test_matches_the_long_double_reference_bit_for_bit(data, window, name):
    np.testing.assert_array_equal(ee._rolling_longitudinal_fast(data, window, name),
                                  rolling_reference(data, window, name))


def test_matches_the_reference_across_tiles():
    rng = np.random.default_rng(7)
    data = rng.normal(size=(300, 150)) * 1e4
    data[rng.random(data.shape) < 0.01] = nan
    for name in NAMES:
        np.testing.assert_array_equal(ee._rolling_longitudinal_fast(data, 20, name), rolling_reference(data, 20, name))
