"""The reductions written with plain NumPy: the slow twins of the native reduction instances.

The native classes follow these step for step, so their cells, states and messages match.
"""
from __future__ import annotations

from typing import Any

import numpy as np

from quillmarsh.functions._typed_shapes import format_shape
from quillmarsh.functions.builtins._config import check_saved_window, validated_window


def column_mean(rows: np.ndarray) -> np.ndarray:
    """Mean over the signals of each column (NaN propagates); all NaN when there is no signal."""
    if rows.shape[0] == 0:
        return np.full(rows.shape[1], np.nan)
    return rows.mean(axis=0)


class MeanReduction:
    """Plain average of the signals' rows."""

    stateful = False

    def __call__(self, extraction: Any, context: Any = None) -> np.ndarray:
        return column_mean(np.asarray(extraction, dtype=np.float64))


class PnlWeightedReduction:
    """Average of the signals' rows weighted by the positive part of their trailing mean PnL.

    Keeps each signal's PnL over the last `window` rows (a NaN PnL counts as 0.0). Signals
    with zero weight are left out of the average; when every weight is 0 the plain mean is
    used. A change in the number of signals starts the history afresh. `pnl_column` names the
    PnL column the engine feeds; the instance only receives its values.
    """

    stateful = True

    def __init__(self, window: int, pnl_column: str = "gross_returns") -> None:
        self.window = validated_window(window)
        self.pnl_column = pnl_column
        self._count = 0                     # rows accumulated since the history last started
        self._history = np.empty((0, 0))    # (rows kept <= window, A) PnL, oldest first

    def __call__(self, extraction: Any, *, signal_pnl: Any, context: Any = None) -> np.ndarray:
        rows = np.asarray(extraction, dtype=np.float64)
        pnl = np.asarray(signal_pnl, dtype=np.float64).reshape(-1)
        if pnl.shape[0] != rows.shape[0]:
            raise ValueError(f"signal_pnl has {pnl.shape[0]} values for {rows.shape[0]} signals")
        self._record(pnl)
        return _weighted_mean(rows, np.maximum(self._history.mean(axis=0), 0.0))

    def get_state(self) -> dict:
        """Payload: "count", "window" and a copy of "pnl_history" (rows kept, A), oldest first."""
        return {"count": self._count, "window": self.window, "pnl_history": self._history.copy()}

    def set_state(self, data: dict) -> None:
        check_saved_window(data, self.window)
        history = np.array(data.get("pnl_history", np.empty((0, 0))), dtype=np.float64)
        if history.ndim != 2 or history.shape[0] > self.window:
            raise ValueError(f"saved PnL history of shape {format_shape(history.shape)}"
                             f" does not fit a window of {self.window} rows")
        self._history = history
        self._count = int(data.get("count", history.shape[0]))

    def _record(self, pnl: np.ndarray) -> None:
        if self._history.shape[1] != pnl.shape[0]:
            self._history = np.empty((0, pnl.shape[0]))
            self._count = 0
        kept = np.vstack([self._history, np.where(np.isnan(pnl), 0.0, pnl)])
        self._history = kept[-self.window:]
        self._count += 1


def _weighted_mean(rows: np.ndarray, weights: np.ndarray) -> np.ndarray:
    total = weights.sum()
    if not total > 0.0:
        return column_mean(rows)
    used = weights > 0.0
    return weights[used] @ rows[used] / total
