"""The demo's picture: cumulative next-day PnL of every example, written as a PNG."""
from __future__ import annotations

from pathlib import Path
from typing import Any

import numpy as np

from quillmarsh.cli.atomic_write import write_atomically
from quillmarsh.cli.demo_report import ExampleRun
from quillmarsh.cli.errors import UserError


def plot_cumulative_pnl(market_runs: list[ExampleRun], long_runs: list[ExampleRun],
                        path: Path) -> None:
    """Market examples on the left (by day), the long run on the right (by row), if any."""
    plt = _pyplot()
    panels = 2 if long_runs else 1
    figure, axes = plt.subplots(1, panels, figsize=(7 * panels, 4.5), squeeze=False)
    _panel(axes[0][0], market_runs, "Synthetic market: cumulative next-day PnL", "day")
    if long_runs:
        _panel(axes[0][1], long_runs, "Long rolling run", "row")
    figure.tight_layout()
    write_atomically(path, lambda stream: figure.savefig(stream, format="png", dpi=110))
    plt.close(figure)


def _pyplot() -> Any:
    """pyplot on the file-only Agg backend (imported here: only the demo draws)."""
    try:
        import matplotlib
    except ImportError:
        raise UserError("the demo's picture needs matplotlib: pip install 'quillmarsh[plot]'") from None
    matplotlib.use("Agg")
    import matplotlib.pyplot as plt
    return plt


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
