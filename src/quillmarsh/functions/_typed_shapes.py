"""Text form of array shapes, as the host prints a tuple of dimensions."""
from __future__ import annotations

from collections.abc import Iterable


def format_shape(shape: Iterable[int]) -> str:
    """Write a shape as "(250, 40)" or "(40,)"."""
    return str(tuple(int(dim) for dim in shape))
