"""The demo's batch step: every alpha of the 101-alpha catalogue on the demo's market, summarised
as `quillmarsh batch` does, with the ten best by Sharpe printed and the whole table in a CSV."""
from __future__ import annotations

import math
from pathlib import Path
from typing import Any

from quillmarsh.batch.collect import Collected
from quillmarsh.batch.evaluation import SUMMARY_COLUMNS
from quillmarsh.batch.runner import run_outcomes

from quillmarsh.cli.batch_report import summary_lines, write_csv
from quillmarsh.cli.market_data import MarketData
from quillmarsh.cli.progress import ProgressBar
from quillmarsh.cli.signal_file import read_signal_file

CATALOGUE = "alpha101.txt"
SUMMARY_CSV = "alpha101_summary.csv"
SHOWN = 10


def run_alpha_batch(examples: Path, market: MarketData, registry: Any, out: Path) -> None:
    signals = read_signal_file(examples / CATALOGUE, registry)
    collected = Collected(len(signals))
    progress = ProgressBar(len(signals), f"batch: {len(signals)} catalogue alphas")
    for position, outcome in run_outcomes(signals, market):
        collected.add(position, outcome)
        progress.advance()
    progress.close()
    rows = collected.rows
    out.mkdir(parents=True, exist_ok=True)
    write_csv(out / SUMMARY_CSV, rows, list(SUMMARY_COLUMNS))
    evaluated = [row for row in rows if not row["error"]]
    best = sorted(evaluated, key=_sharpe, reverse=True)[:SHOWN]
    seconds = sum(row["seconds"] for row in evaluated)
    print(f"{len(evaluated)} of {len(rows)} alphas evaluated in {seconds:.1f}s; the {len(best)} "
          f"best by Sharpe of next-day PnL:")
    print("\n".join(summary_lines(best)))
    print(f"summary of every alpha: {(out / SUMMARY_CSV).resolve()}")


def _sharpe(row: dict[str, Any]) -> float:
    return -math.inf if math.isnan(row["sharpe"]) else row["sharpe"]
