"""Evaluating a group of signals on one market: the unit of work of a batch, serial or on a worker.

Every signal gets an outcome: its summary row and, when it evaluated, its weights and next-day PnL.
A signal whose evaluation fails keeps its error in the row; the group goes on with the next one.
"""
from __future__ import annotations

import time
from collections.abc import Iterator
from dataclasses import dataclass
from pathlib import Path
from typing import Any

import numpy as np

from quillmarsh.cli.engine_context import build_context
from quillmarsh.cli.engine_path import engine_path
from quillmarsh.cli.errors import UserError
from quillmarsh.cli.evaluation import evaluate_graph
from quillmarsh.cli.graph_checks import check_features, check_functions
from quillmarsh.cli.market_data import MarketData
from quillmarsh.cli.pnl import signal_stats
from quillmarsh.cli.text_form import graph_to_text
from quillmarsh.functions.registry import default_registry

from quillmarsh.batch.catalogue import Signal
from quillmarsh.batch.metrics import coverage, daily_rank_ic, ic_summary, market_returns

SUMMARY_COLUMNS = ("name", "expression", "path", "seconds", "nan_share", "coverage", "turnover",
                   "sharpe", "ic_mean", "ic_t_stat", "error")


@dataclass
class Outcome:
    row: dict[str, Any]              # one value per SUMMARY_COLUMNS entry
    weights: np.ndarray | None       # (T, N); None when the signal failed or its weights are stored
    pnl: np.ndarray | None           # (T - 1,) next-day PnL of unit-gross positions
    weights_file: Path | None = None  # where the weights were stored, if they were


def evaluate_group(market: MarketData, signals: list[Signal]) -> list[Outcome]:
    return list(iter_group(market, signals))


def iter_group(market: MarketData, signals: list[Signal]) -> Iterator[Outcome]:
    """The outcome of each signal, one at a time; the context is built once for the group."""
    registry = default_registry()
    context = build_context(market, registry)
    returns = market_returns(market)
    for signal in signals:
        yield _evaluate_signal(signal, market, returns, context, registry)


def failed_outcome(signal: Signal, error: str) -> Outcome:
    row = dict.fromkeys(SUMMARY_COLUMNS, float("nan"))
    row.update(name=signal.name, expression=_text(signal), path="", error=error)
    return Outcome(row, None, None)


def _evaluate_signal(signal: Signal, market: MarketData, returns: np.ndarray, context: Any,
                     registry: Any) -> Outcome:
    try:
        check_functions(signal.graph, registry)
        check_features(signal.graph, market.features)
        path = engine_path(signal.graph, context)
        started = time.perf_counter()
        weights = np.asarray(evaluate_graph(signal.graph, context).weights, dtype=np.float64)
        seconds = time.perf_counter() - started
    except UserError as error:
        return failed_outcome(signal, str(error))
    except Exception as error:  # noqa: BLE001 - one signal's fault must not stop the batch
        return failed_outcome(signal, f"{type(error).__name__}: {error}")
    stats = signal_stats(weights, returns)
    ic = ic_summary(daily_rank_ic(weights, returns))
    row = {"name": signal.name, "expression": _text(signal), "path": path, "seconds": seconds,
           "nan_share": stats.nan_share, "coverage": coverage(weights, market.universe),
           "turnover": stats.turnover, "sharpe": stats.sharpe, "ic_mean": ic.mean,
           "ic_t_stat": ic.t_stat, "error": ""}
    return Outcome(row, weights, stats.pnl)


def _text(signal: Signal) -> str:
    try:
        return graph_to_text(signal.graph)
    except Exception:  # noqa: BLE001 - a graph without a text form is still evaluated
        return ""
