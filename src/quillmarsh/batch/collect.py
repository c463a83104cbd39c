"""Gathering a batch's outcomes, which arrive in any order, back into catalogue order."""
from __future__ import annotations

from typing import Any

import numpy as np

from quillmarsh.batch.evaluation import Outcome
from quillmarsh.batch.tables import correlation_matrix


class Collected:
    """Summary rows and next-day PnL series by catalogue position; weights are left to the caller."""

    def __init__(self, count: int) -> None:
        self._rows: list[dict[str, Any] | None] = [None] * count
        self._pnl: list[np.ndarray | None] = [None] * count

    def add(self, position: int, outcome: Outcome) -> None:
        self._rows[position] = outcome.row
        self._pnl[position] = outcome.pnl

    @property
    def rows(self) -> list[dict[str, Any]]:
        missing = [position for position, row in enumerate(self._rows) if row is None]
        if missing:
            raise RuntimeError(f"no outcome for the signals at positions {missing}")
        return list(self._rows)

    def evaluated(self) -> list[tuple[dict[str, Any], np.ndarray]]:
        """(summary row, next-day PnL) of each signal that evaluated, in catalogue order."""
        return [(row, pnl) for row, pnl in zip(self.rows, self._pnl) if pnl is not None]

    def pnl_correlation(self) -> tuple[list[str], np.ndarray]:
        """Names of the signals that evaluated and the correlation matrix of their PnL."""
        evaluated = self.evaluated()
        return [row["name"] for row, _ in evaluated], correlation_matrix([pnl for _, pnl in evaluated])
