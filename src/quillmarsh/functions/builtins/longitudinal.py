"""Rolling mean, standard deviation and z-score over the trailing `window` rows, row by row.

Fed rows 0, 1, 2, ... of a matrix, an instance returns exactly (bit for bit) the rows of the
engine's whole-matrix rolling kernel over the same columns. The instance owns the running
sums; each row is one call of the engine's compiled step (`_rolling_step`), which updates them
in place with the kernel's own cell arithmetic: a window sum is the difference of two
long-double prefix sums of the NaN-zeroed values, the leading one over every row seen and the
lagging one over the rows that have left the window, both accumulated from zero in row order;
the departing value is never subtracted. Statistics are computed in long double and rounded to
float64 only on return.

NaN policy: a cell has a value only when the window is full (at least `window` rows seen) and
none of its `window` values is NaN; infinities are values. Once an infinity enters a column's
prefix sums, later cells of that column are non-finite, as in the kernel.
"""
from __future__ import annotations

from dataclasses import dataclass
from typing import Any

import numpy as np

from quillmarsh.functions._typed_shapes import format_shape
from quillmarsh.functions.builtins._config import check_saved_window, validated_window
from quillmarsh.simulator_engine.expression_evaluator import _rolling_step

ROLLING_MEAN = "longitudinal_accumulators_25c7fb"
ROLLING_STD = "longitudinal_accumulators_a5b1f0"
ROLLING_ZSCORE = "longitudinal_accumulators_7e8468"

ACCUM_DTYPE = np.longdouble
_SUM_KEYS = ("prefix_sum", "prefix_sum_sq", "lagging_sum", "lagging_sum_sq")


@dataclass
class _WindowSums:
    """Running sums of one instance, one cell per column."""

    ring: np.ndarray            # (window, N) float64: the raw rows; row r in slot r % window
    nan_in_window: np.ndarray   # (N,) int64: NaN cells among the rows held by the ring
    prefix_sum: np.ndarray      # (N,) long double: sum of every row seen, NaN counted as 0
    prefix_sum_sq: np.ndarray   # (N,) long double: the same sum of squares
    lagging_sum: np.ndarray     # (N,) long double: sum of the rows that have left the window
    lagging_sum_sq: np.ndarray  # (N,) long double: the same sum of squares

    @classmethod
    def empty(cls, window: int, width: int) -> _WindowSums:
        return cls(np.full((window, width), np.nan), np.zeros(width, dtype=np.int64),
                   *(np.zeros(width, dtype=ACCUM_DTYPE) for _ in _SUM_KEYS))

    @classmethod
    def restored(cls, data: dict, window: int) -> _WindowSums:
        # Fresh native-order C-contiguous copies: the compiled step updates them in place.
        sums = cls(np.array(data["ring"], dtype=np.float64, order="C"),
                   np.array(data["nan_in_window"], dtype=np.int64),
                   *(np.array(data[key], dtype=ACCUM_DTYPE) for key in _SUM_KEYS))
        width = sums.nan_in_window.shape
        if sums.ring.shape != (window, *width) or any(
                getattr(sums, key).shape != width for key in _SUM_KEYS):
            raise ValueError(f"saved rolling state does not fit a window of {window} rows")
        return sums

    def copied(self) -> dict:
        return {"ring": self.ring.copy(), "nan_in_window": self.nan_in_window.copy(),
                **{key: getattr(self, key).copy() for key in _SUM_KEYS}}


class _RollingStatistic:
    """Owns the running sums and the row count; the compiled step does each row's arithmetic."""

    stateful = True
    _statistic: str  # the registry name, which selects the statistic of the compiled step

    def __init__(self, window: int) -> None:
        self.window = validated_window(window)
        self._count = 0                          # rows consumed so far
        self._sums: _WindowSums | None = None    # created by the first row, which fixes N

    def __call__(self, x: Any, context: Any = None) -> np.ndarray:
        row = np.asarray(x, dtype=np.float64)
        sums = self._sums_for(row)
        out = _rolling_step(sums.ring, sums.nan_in_window, sums.prefix_sum, sums.prefix_sum_sq,
                            sums.lagging_sum, sums.lagging_sum_sq, row, self._count, self._statistic)
        self._count += 1
        return out

    def get_state(self) -> dict:
        """The payload "count" and "window", plus copies of the running sums once a row was seen."""
        state = {"count": self._count, "window": self.window}
        if self._sums is not None:
            state.update(self._sums.copied())
        return state

    def set_state(self, data: dict) -> None:
        check_saved_window(data, self.window)
        count = int(data.get("count", 0))
        if count < 0:
            raise ValueError(f"saved state has a negative count {count}")
        if count > 0 and "ring" not in data:
            raise ValueError(f"saved state with count {count} carries no rolling sums")
        self._sums = _WindowSums.restored(data, self.window) if "ring" in data else None
        self._count = count

    def _sums_for(self, row: np.ndarray) -> _WindowSums:
        if self._sums is None:
            if row.ndim != 1:
                raise ValueError(f"expected a row vector, got shape {format_shape(row.shape)}")
            self._sums = _WindowSums.empty(self.window, row.shape[0])
        elif row.shape != self._sums.nan_in_window.shape:
            expected = format_shape(self._sums.nan_in_window.shape)
            raise ValueError(f"expected a row of shape {expected}, got {format_shape(row.shape)}")
        return self._sums


class RollingMean(_RollingStatistic):
    """`longitudinal_accumulators_25c7fb`: mean of the window."""

    _statistic = ROLLING_MEAN


class RollingStd(_RollingStatistic):
    """`longitudinal_accumulators_a5b1f0`: population standard deviation (divisor `window`)."""

    _statistic = ROLLING_STD


class RollingZScore(_RollingStatistic):
    """`longitudinal_accumulators_7e8468`: (latest - mean) / std, and 0.0 where std is 0."""

    _statistic = ROLLING_ZSCORE
