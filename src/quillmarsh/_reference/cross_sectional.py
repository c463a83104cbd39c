"""Cross-sectional operators written with plain NumPy: demean and scale of one row, z-score of a
matrix row by row."""
from __future__ import annotations

from typing import Any

import numpy as np

ACCUM = np.longdouble


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


def cs_zscore(x: Any) -> np.ndarray:
    """(x - mean) / population std over each row's non-NaN cells; NaN stays NaN; std 0 gives 0.0."""
    x = np.array(x, dtype=np.float64, ndmin=2)
    out = x.copy()
    for row, values in zip(out, x):
        present = ~np.isnan(values)
        if not present.any():
            continue
        cells = values[present].astype(ACCUM)
        with np.errstate(invalid="ignore"):  # an infinite mean: inf - inf
            mean = _sum_in_order(cells) / cells.size
            std = np.sqrt(_sum_in_order((cells - mean) ** 2) / cells.size)
            row[present] = 0.0 if std == 0 else ((cells - mean) / std).astype(np.float64)
    return out


def _sum_in_order(values: np.ndarray) -> np.longdouble:
    total = ACCUM(0)
    for value in values:
        total += value
    return total
