"""Evaluation contexts built from market data."""
from __future__ import annotations

from typing import Any

from quillmarsh.simulator_engine.expression_evaluator import EvaluationContext

from quillmarsh.cli.market_data import MarketData


def build_context(market: MarketData, registry: Any, *, useful_signals: Any = None,
                  column_labels: list[str] | None = None) -> EvaluationContext:
    names = list(market.features)
    return EvaluationContext(
        [market.features[name] for name in names], {name: i for i, name in enumerate(names)},
        useful_signals=useful_signals, registry=registry, universe=market.universe,
        column_labels=column_labels)
