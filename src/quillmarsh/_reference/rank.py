"""Row-by-row cross-sectional ranks of a matrix after the engine's universe masking."""
from __future__ import annotations

from typing import Any

import numpy as np

from quillmarsh.functions.builtins.rank import rank_row


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
    return np.array([rank_row(row) for row in masked]).reshape(masked.shape)
