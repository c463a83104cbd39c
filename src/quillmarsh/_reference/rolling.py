"""Whole-matrix rolling mean / std / z-score from prefix sums, step by step in NumPy.

Inputs: `data` (T, N) convertible to float64, `window` >= 1, `name` a longitudinal function
name. Output: a new (T, N) float64 matrix. A cell has a value only when all `window` values
of its trailing window are present (not NaN); the first `window` - 1 rows are NaN. Sums,
mean, variance, square root and z-score are computed in long double and rounded to float64
when stored. Prefix sums start from a zero row and add one data row at a time
(row k+1 = row k + data row k), so a window sum is the difference of two prefix sums.
"""
from __future__ import annotations

from typing import Any

import numpy as np

from quillmarsh.functions.builtins._config import validated_window
from quillmarsh.functions.builtins.longitudinal import ROLLING_MEAN, ROLLING_STD

ACCUM_DTYPE = np.longdouble


def rolling_reference(data: Any, window: int, name: str) -> np.ndarray:
    """Mean for ROLLING_MEAN, standard deviation for ROLLING_STD, z-score for any other name."""
    window = validated_window(window)
    data = np.asarray(data, dtype=np.float64)
    out = np.full(data.shape, np.nan)
    if data.shape[0] < window:
        return out
    with np.errstate(invalid="ignore"):  # inf - inf once infinities entered the sums
        _fill_rolling(out, data, window, name)
    return out


def _fill_rolling(out: np.ndarray, data: np.ndarray, window: int, name: str) -> None:
    rows = data.shape[0]
    valid = ~np.isnan(data)
    safe = np.where(valid, data, 0.0).astype(ACCUM_DTYPE)
    csum = _prefix_sums(safe)
    invalid_csum = _prefix_sums((~valid).astype(np.int64))
    window_sum = csum[window:] - csum[:rows - window + 1]
    invalid_count = invalid_csum[window:] - invalid_csum[:rows - window + 1]
    computable = (invalid_count == 0) & valid[window - 1:]
    if not computable.any():
        return
    tail = out[window - 1:]
    tail[computable] = _statistic(name, data, safe, window, window_sum, computable)[computable]


def _prefix_sums(values: np.ndarray) -> np.ndarray:
    """(T+1, N): a zero row, then row k+1 = row k + values row k."""
    padded = np.vstack([np.zeros((1, values.shape[1]), dtype=values.dtype), values])
    return np.cumsum(padded, axis=0, dtype=values.dtype)


def _statistic(name: str, data: np.ndarray, safe: np.ndarray, window: int,
               window_sum: np.ndarray, computable: np.ndarray) -> np.ndarray:
    mean = window_sum / window
    if name == ROLLING_MEAN:
        return mean
    csum_sq = _prefix_sums(safe * safe)
    window_sum_sq = csum_sq[window:] - csum_sq[:data.shape[0] - window + 1]
    variance = np.maximum(window_sum_sq / window - mean * mean, 0.0)
    std = np.sqrt(variance)
    if name == ROLLING_STD:
        return std
    latest = data[window - 1:].astype(ACCUM_DTYPE)
    z = np.zeros_like(std)
    nonzero_std = computable & (std != 0.0)
    z[nonzero_std] = (latest[nonzero_std] - mean[nonzero_std]) / std[nonzero_std]
    return z
