"""Streaming evaluation: consecutive row ranges, each starting from the states the last one saved."""
from __future__ import annotations

from collections.abc import Callable, Iterable
from typing import Any

import numpy as np

from quillmarsh.cli.engine_context import build_context
from quillmarsh.cli.evaluation import evaluate_graph
from quillmarsh.cli.market_data import MarketData


def evaluate_in_chunks(graph: Any, market: MarketData, registry: Any,
                       chunks: Iterable[tuple[int, int]], states: dict | None = None,
                       after_chunk: Callable[[], None] = lambda: None) -> tuple[np.ndarray, dict]:
    """The weights of the chunks (start, stop) stacked in order, and the last chunk's states.

    Every chunk runs on a path that returns its states, so the chunks equal one evaluation."""
    pieces = []
    for start, stop in chunks:
        context = build_context(market.rows(start, stop), registry, keep_states=True)
        result = evaluate_graph(graph, context, states)
        pieces.append(np.asarray(result.weights))
        states = result.states
        after_chunk()
    return np.vstack(pieces), states
