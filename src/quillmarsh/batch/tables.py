"""Tables of a batch: rows of plain values, as a pandas DataFrame when pandas is installed."""
from __future__ import annotations

from typing import Any

import numpy as np


def as_table(rows: list[dict[str, Any]], columns: tuple[str, ...] | list[str]) -> Any:
    """A DataFrame with these columns when pandas imports, otherwise the rows themselves."""
    try:
        import pandas
    except ImportError:
        return rows
    return pandas.DataFrame(rows, columns=list(columns))


def correlation_matrix(series: list[np.ndarray]) -> np.ndarray:
    """Pearson correlations of equally long series; NaN for a series without variation."""
    if not series:
        return np.empty((0, 0))
    stacked = np.vstack(series)
    centred = stacked - stacked.mean(axis=1, keepdims=True)
    norms = np.sqrt((centred ** 2).sum(axis=1))
    scaled = np.divide(centred, norms[:, None], out=np.full_like(centred, np.nan),
                       where=norms[:, None] > 0)
    matrix = np.clip(scaled @ scaled.T, -1.0, 1.0)
    matrix[np.diag_indices_from(matrix)] = np.where(norms > 0, 1.0, np.nan)  # exact, not rounded
    return matrix


def correlation_rows(names: list[str], matrix: np.ndarray) -> list[dict[str, Any]]:
    """One row per signal: its name under "signal", then its correlation with each signal."""
    return [{"signal": name, **dict(zip(names, map(float, values)))}
            for name, values in zip(names, matrix)]
