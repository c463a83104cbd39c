"""`evaluate_many`: a list of signals on one market, here or on the caller's Dask client."""
from __future__ import annotations

from collections.abc import Callable, Iterable, Mapping
from pathlib import Path
from typing import Any, NamedTuple

import numpy as np

from quillmarsh.cli.errors import UserError
from quillmarsh.cli.market_data import MarketData, checked_market
from quillmarsh.cli.text_form import parse_expression
from quillmarsh.functions.registry import default_registry
from quillmarsh.simulator_engine._types import FunctionGraphNode

from quillmarsh.batch.catalogue import Signal
from quillmarsh.batch.collect import Collected
from quillmarsh.batch.evaluation import SUMMARY_COLUMNS
from quillmarsh.batch.metrics import market_returns
from quillmarsh.batch.runner import run_outcomes
from quillmarsh.batch.tables import as_table, correlation_rows
from quillmarsh.batch.weights_files import check_file_names


class BatchResult(NamedTuple):
    summary: Any                            # one row per signal, in the order given (see as_table)
    weights: dict[str, np.ndarray | Path]   # by name, the signals that evaluated
    pnl_correlation: Any                    # the signals that evaluated: correlation of their PnL


def evaluate_many(expressions: Iterable[Any] | Mapping[str, Any], market: Any,
                  client: Any = None, *, weights_dir: Path | None = None) -> BatchResult:
    """Evaluate every signal on `market` (a MarketData, or a mapping of (T, N) feature arrays
    with a "universe" entry), in this process or as tasks of the Dask `client`.

    `expressions` is a mapping of names to text expressions or graphs, or an iterable of text
    expressions (each named by its text), graphs (named "signal<i>") or Signals. A signal that
    fails to evaluate has its error in its summary row; the results are the same with or
    without a client. With `weights_dir`, each weights matrix is written there as
    `<name>.npy` by whoever computed it, and `weights` holds the files' paths.
    """
    signals = as_signals(expressions)
    if weights_dir is not None:
        _checked(lambda: check_file_names([signal.name for signal in signals]))
    market = as_market(market)
    collected = Collected(len(signals))
    weights: dict[str, np.ndarray | Path | None] = {signal.name: None for signal in signals}
    for position, outcome in run_outcomes(signals, market, client, weights_dir):
        collected.add(position, outcome)
        weights[signals[position].name] = (outcome.weights if outcome.weights is not None
                                           else outcome.weights_file)
    names, matrix = collected.pnl_correlation()
    return BatchResult(as_table(collected.rows, SUMMARY_COLUMNS),
                       {name: array for name, array in weights.items() if array is not None},
                       as_table(correlation_rows(names, matrix), ["signal", *names]))


def as_signals(expressions: Iterable[Any] | Mapping[str, Any]) -> list[Signal]:
    registry = default_registry()
    items = expressions.items() if isinstance(expressions, Mapping) else \
        (_default_name(item, number) for number, item in enumerate(expressions, start=1))
    signals = []
    for name, item in items:
        if isinstance(item, Signal):
            signals.append(item)
        elif isinstance(item, FunctionGraphNode):
            signals.append(Signal(str(name), item))
        elif isinstance(item, str):
            signals.append(Signal(str(name), _parsed(name, item, registry)))
        else:
            raise TypeError(f"signal '{name}': expected a text expression, a FunctionGraphNode or "
                            f"a Signal, got {type(item).__name__}")
    names = [signal.name for signal in signals]
    repeated = next((name for name in names if names.count(name) > 1), None)
    if repeated is not None:
        raise ValueError(f"the signal name '{repeated}' is used more than once")
    return signals


def as_market(market: Any) -> MarketData:
    """A MarketData with the returns the summary measures need (see market_returns)."""
    if isinstance(market, Mapping) and "universe" in market:
        features = {name: values for name, values in market.items() if name != "universe"}
        market = _checked(lambda: checked_market(features, market["universe"], "market"))
    if not isinstance(market, MarketData):
        raise TypeError("market: expected a MarketData or a mapping of feature arrays with a "
                        "'universe' entry")
    _checked(lambda: market_returns(market))
    return market


def _checked(make: Callable[[], Any]) -> Any:
    """The value of `make()`, its UserError raised as a ValueError."""
    try:
        return make()
    except UserError as error:
        raise ValueError(str(error)) from error


def _default_name(item: Any, number: int) -> tuple[str, Any]:
    if isinstance(item, Signal):
        return item.name, item
    return (item if isinstance(item, str) else f"signal{number}"), item


def _parsed(name: str, text: str, registry: Any) -> FunctionGraphNode:
    try:
        return parse_expression(text, registry)
    except UserError as error:
        raise ValueError(f"signal '{name}': {error}") from error
