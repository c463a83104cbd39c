"""Shared hypothesis strategies: feature matrices with holes, universes, rolling windows."""
import numpy as np
from hypothesis import strategies as st
from hypothesis.extra import numpy as hnp

CELL = st.one_of(st.floats(-1e3, 1e3), st.sampled_from([np.nan, np.inf, -np.inf, 0.0, -0.0, 3.0]))
UNIVERSE_CELL = st.sampled_from([1.0, 1.0, 1.0, 0.0, -0.0, np.nan, np.inf, 0.5])
WINDOWS = st.sampled_from([1, 2, 3, 20])


@st.composite
def matrices_with_universe(draw, max_rows=40, max_cols=5):
    """(data, universe) of one shape: data with NaN holes, infinities and constant runs."""
    rows = draw(st.integers(1, max_rows))
    cols = draw(st.integers(1, max_cols))
    data = draw(hnp.arrays(np.float64, (rows, cols), elements=CELL))
    if draw(st.booleans()):  # a constant run of exactly representable values
        start = draw(st.integers(0, rows - 1))
        data[start:start + draw(st.integers(1, 25)), draw(st.integers(0, cols - 1))] = 3.0
    return data, draw(hnp.arrays(np.float64, (rows, cols), elements=UNIVERSE_CELL))
