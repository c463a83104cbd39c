"""A market as the evaluator sees it: named (days, assets) feature matrices and a universe."""
from __future__ import annotations

from dataclasses import dataclass

import numpy as np

from quillmarsh.cli.data_size import DEFAULT_LIMIT, FLOAT64_BYTES, over_budget_message
from quillmarsh.cli.errors import UserError

# bool, signed and unsigned integers, floats; objects are tried (Parquet decimals) and
# refused when they do not convert. Complex, dates, times, records and strings are refused.
_REAL_KINDS = "biufO"


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


def checked_market(features: dict[str, object], universe: object, source: str,
                   limit: int = DEFAULT_LIMIT) -> MarketData:
    """Float64 matrices of one common shape, or a UserError naming the offending array.

    The float64 copies must fit the memory budget `limit` (bytes)."""
    if not features:
        raise UserError(f"{source}: no feature arrays besides the universe")
    cells = sum(np.size(value) for value in (universe, *features.values()))
    if cells * FLOAT64_BYTES > limit:
        raise UserError(f"{source}: " + over_budget_message(
            f"{len(features) + 1} float64 matrices", cells * FLOAT64_BYTES, limit))
    universe_matrix = _matrix("universe", universe, source)
    matrices = {name: _matrix(f"feature '{name}'", value, source) for name, value in features.items()}
    for name, matrix in matrices.items():
        if matrix.shape != universe_matrix.shape:
            raise UserError(f"{source}: feature '{name}' has shape {matrix.shape}, "
                            f"the universe {universe_matrix.shape}; all must be (days, assets)")
    return MarketData(matrices, universe_matrix)


def _matrix(label: str, value: object, source: str) -> np.ndarray:
    dtype = np.asarray(value).dtype
    if dtype.kind not in _REAL_KINDS:
        raise UserError(f"{source}: {label} is not numeric (dtype {dtype}); only bool, integer "
                        f"and real floating-point arrays are read")
    try:
        matrix = np.asarray(value, dtype=np.float64)
    except (TypeError, ValueError):
        raise UserError(f"{source}: {label} is not numeric") from None
    if matrix.ndim != 2:
        raise UserError(f"{source}: {label} must be a 2-D (days, assets) array; "
                        f"got shape {matrix.shape}")
    return np.ascontiguousarray(matrix)
