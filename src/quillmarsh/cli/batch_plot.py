"""The picture of `quillmarsh batch --plot`: the best signals' cumulative PnL and IC decay.

The best signals are those of highest Sharpe ratio; the IC decay is the mean daily rank IC of
their weights against the returns 1 to MAX_HORIZON days later.
"""
from __future__ import annotations

import math
from collections.abc import Callable
from pathlib import Path
from typing import Any

import numpy as np

from quillmarsh.batch.metrics import daily_rank_ic, ic_summary

from quillmarsh.cli.pictures import pyplot, save_png

BEST_COUNT = 5
MAX_HORIZON = 20


def best_signals(evaluated: list[tuple[dict[str, Any], np.ndarray]],
                 count: int = BEST_COUNT) -> list[tuple[dict[str, Any], np.ndarray]]:
    """The `count` signals of highest Sharpe ratio (signals without one come last)."""
    def key(item: tuple[dict[str, Any], np.ndarray]) -> float:
        sharpe = item[0]["sharpe"]
        return -math.inf if math.isnan(sharpe) else sharpe
    return sorted(evaluated, key=key, reverse=True)[:count]


def ic_decay(weights: np.ndarray, returns: np.ndarray, max_horizon: int = MAX_HORIZON) -> np.ndarray:
    """Mean daily rank IC against the returns 1..max_horizon days later."""
    horizons = range(1, min(max_horizon, weights.shape[0] - 1) + 1)
    return np.array([ic_summary(daily_rank_ic(weights, returns, h)).mean for h in horizons])


def plot_best(best: list[tuple[dict[str, Any], np.ndarray]], load_weights: Callable[[str], np.ndarray],
              returns: np.ndarray, path: Path) -> None:
    plt = pyplot("--plot")
    figure, (pnl_axis, ic_axis) = plt.subplots(1, 2, figsize=(14, 4.5))
    for row, pnl in best:
        label = f"{row['name']} (Sharpe {row['sharpe']:.2f})"
        pnl_axis.plot(np.arange(1, pnl.size + 1), np.cumsum(pnl), linewidth=1.0, label=label)
        decay = ic_decay(load_weights(row["name"]), returns)
        ic_axis.plot(np.arange(1, decay.size + 1), decay, marker="o", markersize=3, label=row["name"])
    for axis in (pnl_axis, ic_axis):
        axis.axhline(0.0, color="grey", linewidth=0.5)
        axis.legend(fontsize=7, loc="best")
    pnl_axis.set(title="Best signals: cumulative next-day PnL", xlabel="day",
                 ylabel="cumulative PnL (unit gross exposure)")
    ic_axis.set(title="IC decay", xlabel="horizon (days)", ylabel="mean daily rank IC")
    save_png(plt, figure, path)
