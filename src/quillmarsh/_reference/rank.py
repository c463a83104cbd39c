"""Row-by-row cross-sectional ranks of a matrix after the engine's universe masking."""
from __future__ import annotations

from typing import Any

import numpy as np


def rank_row_reference(row: Any) -> np.ndarray:
    """Average rank of each non-NaN cell of a row among its non-NaN cells, divided by their count.

    Ties share the mean of their 1-based positions in a stable sort; NaN stays NaN.
    """
    values = np.asarray(row, dtype=np.float64)
    ranks = np.full(values.shape, np.nan)
    present = np.flatnonzero(~np.isnan(values))
    count = present.size
    if count == 0:
        return ranks
    present_values = values[present]
    order = np.argsort(present_values, kind="stable")
    ordered = present_values[order]
    # Tie groups as runs of equal sorted values (== rather than diff, so equal infinities tie).
    starts = np.flatnonzero(np.r_[True, ordered[1:] != ordered[:-1]])
    ends = np.r_[starts[1:], count] - 1
    group_rank = (starts + ends + 2) / 2.0
    ranks[present[order]] = np.repeat(group_rank, ends - starts + 1) / count
    return ranks


def mask_with_universe(data: Any, universe: Any = None) -> np.ndarray:
    """A float64 copy of `data` with NaN where the universe is 0.0 or NaN (infinity is live)."""
    masked = np.array(data, dtype=np.float64)
    if universe is not None:
        universe = np.asarray(universe, dtype=np.float64)
        masked[(universe == 0.0) | np.isnan(universe)] = np.nan
    return masked


def rank_rows_reference(data: Any, universe: Any = None) -> np.ndarray:
    """(T, N) float64 percentile ranks of each row, as `latitudinal_rank_688068` ranks a row."""
    masked = mask_with_universe(data, universe)
    return np.array([rank_row_reference(row) for row in masked]).reshape(masked.shape)
