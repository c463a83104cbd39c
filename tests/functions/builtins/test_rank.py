import numpy as np
import pytest
from hypothesis import given, strategies as st
from hypothesis.extra.numpy import arrays

from quillmarsh.functions.registry import default_registry
from quillmarsh.functions.rotations.latitudinal.rank import batch_apply_3aa57128a46b

RANK = "latitudinal_rank_688068"
# Few distinct values, so that ties are common.
cells = st.sampled_from([np.nan, -np.inf, np.inf, -1.5, -0.0, 0.0, 2.0, 3.0, 7.25])


def direct_rank(row):
    """Average 1-based rank among the non-NaN cells, divided by their count."""
    present = row[~np.isnan(row)]
    out = np.full(row.shape, np.nan)
    for i, x in enumerate(row):
        if not np.isnan(x):
            less, equal = np.sum(present < x), np.sum(present == x)
            out[i] = (less + (equal + 1) / 2) / present.size
    return out


@given(row=arrays(np.float64, st.integers(0, 12), elements=cells))
def test_instance_ranks_like_the_direct_definition(row):
    original = row.copy()
    ranks = default_registry().create_instance(RANK)(row, context=None)
    assert ranks.dtype == np.float64
    np.testing.assert_array_equal(ranks, direct_rank(row))
    np.testing.assert_array_equal(row, original)


@pytest.mark.parametrize("universe, expected", [
    (None, [[1 / 3, 2.5 / 3, 2.5 / 3, np.nan]]), ([[np.inf, 2.0, 0.0, 1.0]], [[0.5, 1.0, np.nan, np.nan]]),
    ([[1.0, 0.0, np.nan, np.inf]], [[1.0, np.nan, np.nan, np.nan]]),
])
def test_batch_ranks_after_universe_masking(universe, expected):
    data = np.array([[1.0, 3.0, 3.0, np.nan]])
    ranks = batch_apply_3aa57128a46b(data, universe=universe and np.array(universe))
    np.testing.assert_array_equal(ranks, expected)
    assert ranks.dtype == np.float64 and data[0, 1] == 3.0
