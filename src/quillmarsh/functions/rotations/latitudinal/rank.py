"""Whole-matrix cross-sectional rank, used by the engine's rank fast paths.

The kernel is compiled with the engine: per row it masks cells outside the universe, ranks the
remaining non-NaN cells with average ties and divides by their count, without the GIL.
"""
from __future__ import annotations

from typing import Any

import numpy as np

from quillmarsh.simulator_engine.expression_evaluator import _batch_rank


def batch_apply_3aa57128a46b(data: Any, *, universe: Any = None) -> np.ndarray:
    """(T, N) float64 ranks of each row of `data`, after masking cells outside the universe."""
    return _batch_rank(data, universe=universe)
