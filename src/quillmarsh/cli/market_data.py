"""A market as the evaluator sees it: named (days, assets) feature matrices and a universe."""
from __future__ import annotations

from dataclasses import dataclass

import numpy as np

from quillmarsh.cli.errors import UserError


@dataclass
class MarketData:
    """`features` maps a name to a float64 (T, N) matrix; `universe` is (T, N), 0 or NaN = out."""

    features: dict[str, np.ndarray]
    universe: np.ndarray

    @property
    def shape(self) -> tuple[int, int]:
        return self.universe.shape

    def rows(self, start: int, stop: int) -> MarketData:
        """Rows start..stop-1 of every matrix, as views."""
        return MarketData({name: matrix[start:stop] for name, matrix in self.features.items()},
                          self.universe[start:stop])


def checked_market(features: dict[str, object], universe: object, source: str) -> MarketData:
    """Float64 matrices of one common shape, or a UserError naming the offending array."""
    if not features:
        raise UserError(f"{source}: no feature arrays besides the universe")
    universe_matrix = _matrix("universe", universe, source)
    matrices = {name: _matrix(f"feature '{name}'", value, source) for name, value in features.items()}
    for name, matrix in matrices.items():
        if matrix.shape != universe_matrix.shape:
            raise UserError(f"{source}: feature '{name}' has shape {matrix.shape}, "
                            f"the universe {universe_matrix.shape}; all must be (days, assets)")
    return MarketData(matrices, universe_matrix)


def _matrix(label: str, value: object, source: str) -> np.ndarray:
    try:
        matrix = np.asarray(value, dtype=np.float64)
    except (TypeError, ValueError):
        raise UserError(f"{source}: {label} is not numeric") from None
    if matrix.ndim != 2:
        raise UserError(f"{source}: {label} must be a 2-D (days, assets) array; "
                        f"got shape {matrix.shape}")
    return np.ascontiguousarray(matrix)
