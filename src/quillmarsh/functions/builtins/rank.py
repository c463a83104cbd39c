"""Cross-sectional percentile rank of one row."""
from __future__ import annotations

from typing import Any

import numpy as np


def rank_row(row: Any) -> np.ndarray:
    """Average rank of each non-NaN cell among the row's non-NaN cells, divided by their count.

    Values lie in (0, 1]; ties share the mean of their 1-based positions; NaN stays NaN.
    Infinities rank as the extreme values they are.
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


class LatitudinalRank:
    """`latitudinal_rank_688068`: the percentile rank of each cell within its row."""

    stateful = False

    def __call__(self, x: Any, context: Any = None) -> np.ndarray:
        return rank_row(x)
