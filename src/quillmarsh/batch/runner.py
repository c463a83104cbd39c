"""Running a batch: every signal in this process, or groups of signals as tasks on a Dask cluster.

On a cluster the market is scattered to every worker once and each task evaluates one group of
signals. Tasks are retried when they raise, and the scheduler reruns the tasks of a worker that
dies; a group that still cannot be evaluated has its signals reported as failed.
"""
from __future__ import annotations

import math
from collections.abc import Iterator
from pathlib import Path
from typing import Any

from quillmarsh.cli.market_data import MarketData
from quillmarsh.simulator_engine._types import FunctionGraphNode

from quillmarsh.batch.catalogue import Signal
from quillmarsh.batch.evaluation import Outcome, failed_outcome, iter_group
from quillmarsh.batch.weights_files import stored

TASK_RETRIES = 2
GROUPS_PER_WORKER = 20  # small groups: the workers finish within a group's time of each other
MAX_GROUP_SIZE = 32


def run_outcomes(signals: list[Signal], market: MarketData, client: Any = None,
                 weights_dir: Path | None = None) -> Iterator[tuple[int, Outcome]]:
    """(position in `signals`, outcome) pairs, in the order they complete. With `weights_dir`
    the weights are written there where they are computed, instead of being returned."""
    if client is None:
        yield from enumerate(_evaluate_group(market, signals, weights_dir))
    else:
        yield from _cluster_outcomes(signals, market, client, weights_dir)


def _evaluate_group(market: MarketData, signals: list[Signal],
                    weights_dir: Path | None) -> Iterator[Outcome]:
    for outcome in iter_group(market, signals):
        yield outcome if weights_dir is None else stored(outcome, weights_dir)


def _group_task(market: MarketData, signals: list[Signal], weights_dir: Path | None) -> list[Outcome]:
    return list(_evaluate_group(market, signals, weights_dir))


def _cluster_outcomes(signals: list[Signal], market: MarketData, client: Any,
                      weights_dir: Path | None) -> Iterator[tuple[int, Outcome]]:
    from distributed import as_completed

    shared_market = client.scatter(market, broadcast=True, hash=False)
    submitted = {}
    for start, group in _groups(signals, _group_size(len(signals), client)):
        shipped = [Signal(signal.name, detached(signal.graph)) for signal in group]
        future = client.submit(_group_task, shared_market, shipped, weights_dir,
                               retries=TASK_RETRIES, pure=False)
        submitted[future] = (start, group)
    for future in as_completed(submitted):
        start, group = submitted.pop(future)
        try:
            outcomes = future.result()
        except Exception as error:  # noqa: BLE001 - report the group's signals, keep the rest
            outcomes = [failed_outcome(signal, f"lost on the cluster: {type(error).__name__}: {error}")
                        for signal in group]
        future.release()
        for offset, outcome in enumerate(outcomes):
            yield start + offset, outcome


def _group_size(count: int, client: Any) -> int:
    workers = max(sum(client.nthreads().values()), 1)
    return min(MAX_GROUP_SIZE, max(1, math.ceil(count / (GROUPS_PER_WORKER * workers))))


def _groups(signals: list[Signal], size: int) -> Iterator[tuple[int, list[Signal]]]:
    for start in range(0, len(signals), size):
        yield start, signals[start:start + size]


def detached(node: FunctionGraphNode) -> FunctionGraphNode:
    """A copy of a graph without the caches the engine attaches to evaluated nodes."""
    children = [detached(child) for child in node.children] if node.children is not None else None
    return FunctionGraphNode(node.type, node.node, children, node.config, node.canonical_id)
