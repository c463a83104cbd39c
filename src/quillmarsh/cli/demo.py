"""`quillmarsh demo`: the example catalogue on a seeded synthetic market.

For each example: the engine's path, time, NaN share, turnover and Sharpe ratio of next-day
PnL; then one stateful example streamed day by day through the last year, checked against
the one-shot evaluation; then a picture of the cumulative PnL; last, the whole 101-alpha
catalogue as a batch, with its best signals.
"""
from __future__ import annotations

import argparse
import time
from pathlib import Path
from typing import Any

import numpy as np

from quillmarsh.functions.registry import default_registry

from quillmarsh.cli.demo_batch import run_alpha_batch
from quillmarsh.cli.demo_catalogue import Catalogue, Example, load_catalogue
from quillmarsh.cli.demo_plot import plot_cumulative_pnl
from quillmarsh.cli.demo_report import ExampleRun, header, row
from quillmarsh.cli.engine_context import build_context
from quillmarsh.cli.engine_path import engine_path
from quillmarsh.cli.evaluation import evaluate_graph
from quillmarsh.cli.market import long_market, synthetic_market
from quillmarsh.cli.market_data import MarketData
from quillmarsh.cli.pnl import signal_stats
from quillmarsh.cli.pool import PNL_COLUMNS, momentum_pool
from quillmarsh.cli.progress import ProgressBar
from quillmarsh.cli.streaming import evaluate_in_chunks

PNG_NAME = "demo_pnl.png"


def add_parser(commands: argparse._SubParsersAction) -> None:
    parser = commands.add_parser(
        "demo", help="run the example signals on a synthetic market",
        description="Evaluate the example catalogue on a seeded synthetic market, stream one "
                    "stateful signal day by day, and draw the cumulative PnL.")
    parser.add_argument("--days", type=int, default=2520, help="days of the market (2520)")
    parser.add_argument("--assets", type=int, default=500, help="assets of the market (500)")
    parser.add_argument("--seed", type=int, default=7, help="seed of the market (7)")
    parser.add_argument("--long-rows", type=int, default=100_000,
                        help="rows of the long rolling run (100000)")
    parser.add_argument("--long-assets", type=int, default=50,
                        help="assets of the long rolling run (50)")
    parser.add_argument("--no-long-run", action="store_true", help="skip the long rolling run")
    parser.add_argument("--stream-days", type=int, default=252,
                        help="days streamed one at a time at the end (252)")
    parser.add_argument("--no-batch", action="store_true", help="skip the 101-alpha batch")
    parser.add_argument("--examples", type=Path, default=Path("examples"),
                        help="folder with catalogue.json (./examples)")
    parser.add_argument("--out", type=Path, default=Path("out"), help="folder of the picture (./out)")
    parser.set_defaults(run=run)


def run(args: argparse.Namespace) -> int:
    """Exit status 1 when the streamed weights differ from the one-shot ones."""
    registry = default_registry()
    catalogue = load_catalogue(args.examples, registry)
    market = synthetic_market(args.days, args.assets, args.seed)
    _describe(market)
    runs = _run_examples(catalogue, _datasets(catalogue, market, args), registry)
    print()
    streamed_equal = _stream(catalogue.stream, market, registry, args.stream_days)
    png = args.out / PNG_NAME
    plot_cumulative_pnl(runs["market"], runs["long"], png)
    print(f"cumulative PnL picture: {png.resolve()}")
    if not args.no_batch:
        print()
        run_alpha_batch(args.examples, market, registry, args.out)
    return 0 if streamed_equal else 1


def _run_examples(catalogue: Catalogue, datasets: dict, registry: Any) -> dict[str, list[ExampleRun]]:
    """Evaluate and print every example whose data is there; runs grouped as "market", "long"."""
    print()
    print(header())
    runs: dict[str, list[ExampleRun]] = {"market": [], "long": []}
    for example in catalogue.examples:
        if example.data in datasets:
            example_run = _run_example(example, datasets[example.data], registry)
            print(row(example_run), flush=True)
            runs["long" if example.data == "long" else "market"].append(example_run)
    return runs


def _describe(market: MarketData) -> None:
    days, assets = market.shape
    live = market.universe.sum(axis=1)
    missing = np.isnan(market.features["close"]).sum()
    print(f"synthetic market: {days} days x {assets} assets; features "
          f"{', '.join(market.features)}; {live.min():.0f} to {live.max():.0f} assets live a day; "
          f"{missing} missing close values")


def _datasets(catalogue: Catalogue, market: MarketData, args: argparse.Namespace) -> dict:
    """Market data and context extras per data kind the catalogue uses."""
    datasets: dict[str, tuple[MarketData, dict]] = {"market": (market, {})}
    kinds = {example.data for example in catalogue.examples}
    if "pool" in kinds:
        started = time.perf_counter()
        pool = momentum_pool(market)
        print(f"pool: {len(pool)} useful signals (ranked momentum and reversal), built in "
              f"{time.perf_counter() - started:.1f}s")
        datasets["pool"] = (market, {"useful_signals": pool, "column_labels": PNL_COLUMNS})
    if "long" in kinds and not args.no_long_run:
        datasets["long"] = (long_market(args.long_rows, args.long_assets), {})
    return datasets


def _run_example(example: Example, dataset: tuple[MarketData, dict], registry: Any) -> ExampleRun:
    market, extras = dataset
    context = build_context(market, registry, **extras)
    path = engine_path(example.graph, context)
    started = time.perf_counter()
    weights = np.asarray(evaluate_graph(example.graph, context).weights)
    seconds = time.perf_counter() - started
    return ExampleRun(example.name, path, seconds, signal_stats(weights, market.features["returns"]))


def _stream(example: Example, market: MarketData, registry: Any, stream_days: int) -> bool:
    """Evaluate all days at once; then the days before the last `stream_days` as one chunk and
    each later day as a chunk of its own, each chunk resuming from the states the previous one
    saved. True when both give the same weights."""
    days = market.shape[0]
    first_streamed = max(days - stream_days, 1)
    one_shot = np.asarray(evaluate_graph(example.graph, build_context(market, registry)).weights)
    history, states = evaluate_in_chunks(example.graph, market, registry, [(0, first_streamed)])
    progress = ProgressBar(days - first_streamed, f"streaming '{example.name}' day by day")
    streamed, states = evaluate_in_chunks(
        example.graph, market, registry, [(day, day + 1) for day in range(first_streamed, days)],
        states, after_chunk=progress.advance)
    progress.close()
    equal = np.array_equal(np.vstack([history, streamed]), one_shot, equal_nan=True)
    print(f"streaming: {days - first_streamed} daily chunks with states "
          f"({len(states)} stateful nodes) equal the one-shot evaluation: {'yes' if equal else 'NO'}")
    return equal
