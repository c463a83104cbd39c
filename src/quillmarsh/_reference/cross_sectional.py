"""Cross-sectional demean and scale of one row, written with plain NumPy."""
from __future__ import annotations

from typing import Any

import numpy as np


def demean_reference(x: Any) -> np.ndarray:
    """Subtract the mean of the row's non-NaN cells; NaN cells stay NaN."""
    row = np.asarray(x, dtype=np.float64)
    present = ~np.isnan(row)
    if not present.any():
        return row.copy()
    return row - row[present].mean()


def scale_reference(x: Any, target: float = 1.0) -> np.ndarray:
    """Scale the row so that its gross exposure (sum of |x| over non-NaN cells) is `target`.

    A row without exposure (all zero or NaN) is returned unchanged.
    """
    row = np.asarray(x, dtype=np.float64)
    gross = np.nansum(np.abs(row))
    if gross == 0.0:
        return row.copy()
    return row / gross * float(target)
