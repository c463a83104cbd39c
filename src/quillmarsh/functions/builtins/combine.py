"""Cell-wise combinations of two rows."""
from __future__ import annotations

from typing import Any

import numpy as np


class NumericalCombine:
    """`numerical_combine_d65e04`: the cell-wise product a * b."""

    stateful = False

    def __call__(self, a: Any, b: Any, context: Any = None) -> np.ndarray:
        return np.multiply(np.asarray(a, dtype=np.float64), np.asarray(b, dtype=np.float64))
