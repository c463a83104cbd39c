"""Evaluation contexts built from market data."""
from __future__ import annotations

from typing import Any

from quillmarsh.simulator_engine.expression_evaluator import EvaluationContext

from quillmarsh.cli.market_data import MarketData

# The engine's fast paths run only on contexts without signals, transforms or metaparameters,
# and they return no function states. A metaparameter that no transform stage reads keeps the
# evaluation on the general evaluator, which returns them, and changes nothing else.
_KEEP_STATES = {"quillmarsh.cli.keep_states": True}


def build_context(market: MarketData, registry: Any, *, keep_states: bool = False,
                  useful_signals: Any = None, column_labels: list[str] | None = None) -> EvaluationContext:
    """The context of `market`; with `keep_states` every evaluation on it returns its states."""
    names = list(market.features)
    return EvaluationContext(
        [market.features[name] for name in names], {name: i for i, name in enumerate(names)},
        useful_signals=useful_signals, registry=registry, universe=market.universe,
        column_labels=column_labels, metaparameters=dict(_KEEP_STATES) if keep_states else None)
