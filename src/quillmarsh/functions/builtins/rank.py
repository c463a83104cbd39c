"""Cross-sectional percentile rank of one row."""
from __future__ import annotations

from typing import Any

import numpy as np

from quillmarsh.simulator_engine.expression_evaluator import _batch_rank


def rank_row(row: Any) -> np.ndarray:
    """Average rank of each non-NaN cell among the row's non-NaN cells, divided by their count.

    Values lie in (0, 1]; ties share the mean of their 1-based positions; NaN stays NaN.
    Infinities rank as the extreme values they are. The engine's batch rank kernel ranks the
    row as a one-row matrix.
    """
    values = np.asarray(row, dtype=np.float64)
    return _batch_rank(values.reshape(1, -1)).reshape(values.shape)


class LatitudinalRank:
    """`latitudinal_rank_688068`: the percentile rank of each cell within its row."""

    stateful = False

    def __call__(self, x: Any, context: Any = None) -> np.ndarray:
        return rank_row(x)
