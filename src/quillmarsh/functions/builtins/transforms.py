"""Cross-sectional transforms, usable as transform-pipeline stages."""
from __future__ import annotations

from typing import Any

import numpy as np


class Demean:
    """Subtract the mean of the row's non-NaN cells; NaN cells stay NaN."""

    stateful = False

    def __call__(self, x: Any, context: Any = None) -> np.ndarray:
        row = np.asarray(x, dtype=np.float64)
        present = ~np.isnan(row)
        if not present.any():
            return row.copy()
        return row - row[present].mean()


class Scale:
    """Scale the row so that its gross exposure (sum of |x| over non-NaN cells) is `target`.

    A row without exposure (all zero or NaN) is returned unchanged.
    """

    stateful = False

    def __init__(self, target: float = 1.0) -> None:
        self.target = float(target)

    def __call__(self, x: Any, context: Any = None) -> np.ndarray:
        row = np.asarray(x, dtype=np.float64)
        gross = np.nansum(np.abs(row))
        if gross == 0.0:
            return row.copy()
        return row / gross * self.target
