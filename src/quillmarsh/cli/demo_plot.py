"""The demo's picture: cumulative next-day PnL of every example, written as a PNG."""
from __future__ import annotations

from pathlib import Path
from typing import Any

import numpy as np

from quillmarsh.cli.demo_report import ExampleRun
from quillmarsh.cli.pictures import pyplot, save_png


def plot_cumulative_pnl(market_runs: list[ExampleRun], long_runs: list[ExampleRun],
                        path: Path) -> None:
    """Market examples on the left (by day), the long run on the right (by row), if any."""
    plt = pyplot("the demo's picture")
    panels = 2 if long_runs else 1
    figure, axes = plt.subplots(1, panels, figsize=(7 * panels, 4.5), squeeze=False)
    _panel(axes[0][0], market_runs, "Synthetic market: cumulative next-day PnL", "day")
    if long_runs:
        _panel(axes[0][1], long_runs, "Long rolling run", "row")
    save_png(plt, figure, path)



def _panel(axis: Any, runs: list[ExampleRun], title: str, unit: str) -> None:
    for run in runs:
        steps = np.arange(1, run.stats.pnl.size + 1)
        axis.plot(steps, np.cumsum(run.stats.pnl), linewidth=1.0,
                  label=f"{run.name} (Sharpe {run.stats.sharpe:.2f})")
    axis.axhline(0.0, color="grey", linewidth=0.5)
    axis.set_title(title)
    axis.set_xlabel(unit)
    axis.set_ylabel("cumulative PnL (unit gross exposure)")
    axis.legend(fontsize=7, loc="best")
