"""Row-by-row cross-sectional operators in plain NumPy, for tests and benchmarks."""
from __future__ import annotations

from typing import Any

import numpy as np

ACCUM = np.longdouble


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
