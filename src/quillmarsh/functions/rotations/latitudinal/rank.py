"""Whole-matrix cross-sectional rank, used by the engine's rank fast paths."""
from __future__ import annotations

from typing import Any

import numpy as np

from quillmarsh._reference.rank import rank_rows_reference


def batch_apply_3aa57128a46b(data: Any, *, universe: Any = None) -> np.ndarray:
    """(T, N) float64 ranks of each row of `data`, after masking cells outside the universe."""
    return rank_rows_reference(data, universe)
