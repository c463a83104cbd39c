import numpy as np
import pytest
from hypothesis import given, strategies as st
from hypothesis.extra import numpy as hnp

from quillmarsh._reference.rank import rank_rows_reference
from quillmarsh.simulator_engine import expression_evaluator as ee

from ...strategies import UNIVERSE_CELL

nan, inf = np.nan, np.inf


@pytest.mark.parametrize("row, universe, expected", [
    ([3.0, 1.0, 2.0, 1.0], None, [1.0, 0.375, 0.75, 0.375]), ([nan, nan], None, [nan, nan]),
    ([-0.0, 0.0, inf, inf, -inf], None, [0.5, 0.5, 0.9, 0.9, 0.2]),
    ([5.0, 6.0, 7.0, 8.0], [1.0, 0.0, -0.0, nan], [1.0, nan, nan, nan]),
    ([5.0, 6.0, 7.0], [inf, -2.0, 0.5], [1 / 3, 2 / 3, 1.0]),
])
def test_hand_checked_rows(row, universe, expected):
    universe = None if universe is None else np.array([universe])
    np.testing.assert_array_equal(ee._batch_rank(np.array([row]), universe), [expected])


def test_inputs_are_never_modified():
    data = np.array([[2.0, nan, 1.0], [1.0, 1.0, 0.0]])
    universe = np.array([[1.0, 1.0, 0.0], [1.0, nan, 1.0]])
    before = np.stack([data, universe])
    out = ee._batch_rank(data, universe=universe)
    np.testing.assert_array_equal(np.stack([data, universe]), before)
    assert out.dtype == np.float64 and out.flags.c_contiguous


@pytest.mark.parametrize("data, universe", [(np.ones(3), None), (np.ones((2, 3)), np.ones((3, 2)))])
def test_bad_shapes_raise_value_error(data, universe):
    with pytest.raises(ValueError):
        ee._batch_rank(data, universe)


_values = st.one_of(st.sampled_from([nan, inf, -inf, 0.0, -0.0, 1.0, 2.0]), st.floats(allow_nan=False))


@given(shape=st.tuples(st.integers(0, 6), st.sampled_from([1, 5, 40, 300])), data=st.data())
def test_matches_the_reference(shape, data):
    # 300 columns take the radix sort, fewer the comparison sort.
    values = data.draw(hnp.arrays(np.float64, shape, elements=_values))
    universe = data.draw(st.none() | hnp.arrays(np.float64, shape, elements=UNIVERSE_CELL))
    np.testing.assert_array_equal(ee._batch_rank(values, universe=universe), rank_rows_reference(values, universe))


@pytest.mark.parametrize("spacing", [2.0**-52, 2.0**-40])
def test_crowded_values_share_the_sort_high_halves(spacing):
    # Values this close agree on the high half of their sort keys: the order comes from the low half.
    values = 1.0 + np.random.default_rng(1).permutation(np.repeat(np.arange(200), 2)) * spacing
    values[::7] = -values[::7]
    np.testing.assert_array_equal(ee._batch_rank(values[None, :]), rank_rows_reference(values[None, :]))


def _spread_row(low, high, size=400):
    # Values log-uniform in [low, high], with a few ties and NaN cells.
    rng = np.random.default_rng(int(low * 1000) % 97 + size)
    values = np.exp(rng.uniform(np.log(low), np.log(high), size))
    values[::9] = values[1]
    values[::13] = nan
    return values


def _extreme_row(size, present=None):
    # Only the keys at the ends of the order: both infinities and largest magnitudes, the
    # smallest subnormals and both zeros; cells past `present` are NaN.
    big, tiny = np.finfo(np.float64).max, 5e-324
    values = np.random.default_rng(size).choice([inf, -inf, big, -big, tiny, -tiny, 0.0, -0.0], size)
    values[size if present is None else present:] = nan
    return values


@pytest.mark.parametrize("values", [
    _extreme_row(300), _extreme_row(300, present=256), _extreme_row(300, present=255),
    np.where(np.arange(300) == 17, inf, 1.0), np.full(300, -0.0),
], ids=["extremes", "extremes-256-present", "extremes-255-present", "one-inf-among-ties", "all-negative-zero"])
def test_long_rows_with_extreme_keys_sort_like_the_reference(values):
    rows = np.stack([values, np.random.default_rng(5).permutation(values)])
    np.testing.assert_array_equal(ee._batch_rank(rows), rank_rows_reference(rows))


@pytest.mark.parametrize("values", [
    _spread_row(1.0, 1.0 + 2.0**-30),      # one high half for every cell
    _spread_row(1.0, 1.0 + 2.0**-14),      # high halves within one byte
    _spread_row(1.0, 1.5),                 # within two bytes
    _spread_row(1.0, 16.0),                # within three bytes
    _spread_row(1e-3, 1e3),                # more than three bytes, one sign
    _spread_row(1e-300, 1e300),            # every exponent
    np.concatenate([-_spread_row(1e-4, 1e-1, 200), _spread_row(1e-4, 1e-1, 200)]),  # both signs
    np.concatenate([-_spread_row(1.0, 1.5, 200), _spread_row(1e-30, 1e30, 200)]),  # both, one sign wide
    np.concatenate([-_spread_row(1.0, 1.0 + 2.0**-30, 200), _spread_row(1.0, 1.0 + 2.0**-30, 200)]),
    np.round(_spread_row(1.0, 64.0)),      # integers: long runs of ties
    np.concatenate([-_spread_row(1e-4, 1e-1, 1500), _spread_row(1.0, 1.5, 1500)]),  # a long row
], ids=["same-high-half", "one-byte", "two-bytes", "three-bytes", "wide", "all-exponents", "both-signs",
        "both-signs-one-wide", "both-signs-one-high-half-each", "ties", "long-row"])
def test_long_rows_sort_like_the_reference_at_every_span(values):
    rows = np.stack([values, np.random.default_rng(3).permutation(values)])
    np.testing.assert_array_equal(ee._batch_rank(rows), rank_rows_reference(rows))
