"""`quillmarsh batch`: every signal of a catalogue on one market, with a summary of each.

Writes each signal's weights (`<name>.npy`), `summary.csv`, `pnl_correlation.csv` and, with
--plot, `best_signals.png` into the output folder. Exit status 1 when a signal failed (its error
is in its row), 2 for a mistake in the input.
"""
from __future__ import annotations

import argparse
from pathlib import Path

import numpy as np

from quillmarsh.batch import SUMMARY_COLUMNS, read_catalogue
from quillmarsh.batch.collect import Collected
from quillmarsh.batch.metrics import market_returns
from quillmarsh.batch.runner import run_outcomes
from quillmarsh.batch.tables import correlation_rows
from quillmarsh.batch.weights_files import check_file_names, weights_file_name
from quillmarsh.functions.registry import default_registry

from quillmarsh.cli import data_size
from quillmarsh.cli.batch_cluster import batch_client
from quillmarsh.cli.batch_report import summary_lines, write_csv
from quillmarsh.cli.data_io import load_market
from quillmarsh.cli.progress import ProgressBar

SUMMARY_CSV = "summary.csv"
CORRELATION_CSV = "pnl_correlation.csv"
PICTURE = "best_signals.png"


def add_parser(commands: argparse._SubParsersAction) -> None:
    parser = commands.add_parser(
        "batch", help="evaluate every signal of a catalogue and summarise them",
        description="Evaluate every signal of a catalogue (a text file, one expression per line "
                    "with an optional 'name:' prefix, or a .json catalogue) on market data; "
                    "write each weights matrix, a summary table and the correlation of the "
                    "signals' PnL.")
    parser.add_argument("catalogue", type=Path, metavar="CATALOGUE")
    parser.add_argument("--data", required=True, type=Path,
                        help=".npz file, .parquet file, or folder of .parquet files")
    parser.add_argument("--out", required=True, type=Path, help="output folder")
    parser.add_argument("--plot", action="store_true",
                        help=f"draw the best signals' cumulative PnL and IC decay ({PICTURE})")
    data_size.add_option(parser)
    where = parser.add_mutually_exclusive_group()
    where.add_argument("--workers", type=_positive, metavar="K",
                       help="run on a local Dask cluster of K worker processes")
    where.add_argument("--scheduler", metavar="ADDRESS",
                       help="run on the Dask cluster whose scheduler is at ADDRESS")
    parser.set_defaults(run=run)


def run(args: argparse.Namespace) -> int:
    signals = read_catalogue(args.catalogue, default_registry())
    check_file_names([signal.name for signal in signals])
    collected = Collected(len(signals))
    with batch_client(args.workers, args.scheduler) as client:
        market = load_market(args.data, args.max_data_size)
        returns = market_returns(market)
        progress = ProgressBar(len(signals), f"evaluating {len(signals)} signals")
        for position, outcome in run_outcomes(signals, market, client, args.out.resolve()):
            collected.add(position, outcome)
            progress.advance()
    progress.close()
    rows = collected.rows
    write_csv(args.out / SUMMARY_CSV, rows, list(SUMMARY_COLUMNS))
    names, matrix = collected.pnl_correlation()
    write_csv(args.out / CORRELATION_CSV, correlation_rows(names, matrix), ["signal", *names])
    print("\n".join(summary_lines(rows)))
    if args.plot:
        _plot(collected, returns, args.out)
    return _report_failures(rows, args.out)


def _plot(collected: Collected, returns: np.ndarray, folder: Path) -> None:
    from quillmarsh.cli.batch_plot import best_signals, plot_best

    best = best_signals(collected.evaluated())
    plot_best(best, lambda name: np.load(folder / weights_file_name(name)), returns, folder / PICTURE)


def _report_failures(rows: list[dict], folder: Path) -> int:
    failed = sum(1 for row in rows if row["error"])
    print(f"{len(rows) - failed} of {len(rows)} signals evaluated; weights, {SUMMARY_CSV} and "
          f"{CORRELATION_CSV} in {folder}")
    return 1 if failed else 0


def _positive(text: str) -> int:
    try:
        value = int(text)
    except ValueError:
        value = 0
    if value < 1:
        raise argparse.ArgumentTypeError(f"expected a positive number of workers, got '{text}'")
    return value
