"""The demo's table: one row per example signal."""
from __future__ import annotations

import math
from dataclasses import dataclass

from quillmarsh.cli.pnl import SignalStats

_HEADER = f"{'example':<20} {'path':<13} {'time':>8} {'NaN':>7} {'turnover':>9} {'Sharpe':>7}"


@dataclass
class ExampleRun:
    name: str
    path: str
    seconds: float
    stats: SignalStats


def header() -> str:
    return _HEADER + "\n" + "-" * len(_HEADER)


def row(run: ExampleRun) -> str:
    stats = run.stats
    return (f"{run.name:<20} {run.path:<13} {run.seconds:>7.2f}s {stats.nan_share:>7.1%} "
            f"{_number(stats.turnover):>9} {_number(stats.sharpe):>7}")


def _number(value: float) -> str:
    return "n/a" if math.isnan(value) else f"{value:.2f}"
