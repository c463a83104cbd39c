"""A realistic graph of built-ins through the general evaluator: total time and the share
spent inside the function instances.

Graph: numerical_combine(rank(zscore(mean(close, 5), 20)), rank(volume)) at T = 2,520,
N_alloc = 500. Instances are wrapped by a timing proxy registry so their own time is measured
in the same run.
Run: .venv/bin/python bench/bench_evaluator_builtin_graph.py
"""
from __future__ import annotations

import time

import numpy as np

from quillmarsh.functions.registry import default_registry
from quillmarsh.simulator_engine import expression_evaluator as ee
from quillmarsh.simulator_engine._types import FunctionGraphNode as Node

T, N = 2520, 500


class TimedInstance:
    def __init__(self, inner, clock):
        self._inner, self._clock = inner, clock
        self.stateful = inner.stateful

    def __getattr__(self, name):
        return getattr(self._inner, name)

    def __call__(self, *args, **kwargs):
        start = time.perf_counter()
        try:
            return self._inner(*args, **kwargs)
        finally:
            self._clock[0] += time.perf_counter() - start


class TimedRegistry:
    """Delegates to the default registry and wraps every instance it creates."""

    def __init__(self):
        self._inner = default_registry()
        self.clock = [0.0]

    def __getattr__(self, name):
        return getattr(self._inner, name)

    def create_instance(self, name, **config):
        return TimedInstance(self._inner.create_instance(name, **config), self.clock)


def graph():
    rolling = Node("rotation", "longitudinal_accumulators_25c7fb", [Node("feature", "close"), Node("int", 5)])
    zscore = Node("rotation", "longitudinal_accumulators_7e8468", [rolling, Node("int", 20)])
    return Node("rotation", "numerical_combine_d65e04", [
        Node("rotation", "latitudinal_rank_688068", [zscore]),
        Node("rotation", "latitudinal_rank_688068", [Node("feature", "volume")]),
    ])


def main():
    rng = np.random.default_rng(3)
    close = 100 + rng.standard_normal((T, N)).cumsum(axis=0)
    volume = rng.lognormal(size=(T, N))
    universe = np.ones((T, N))
    for asset in rng.choice(N, size=N // 10, replace=False):  # a tenth of the assets leave for a while
        start = rng.integers(0, T - 250)
        universe[start:start + 250, asset] = 0.0
    registry = TimedRegistry()
    ctx = ee.EvaluationContext([close, volume], {"close": 0, "volume": 1}, registry=registry, universe=universe)
    start = time.perf_counter()
    weights, states = ee.evaluate(graph(), ctx)
    total = time.perf_counter() - start
    inside = registry.clock[0]
    print(f"T={T} N_alloc={N} nodes=7, stateful instances={len(states)}")
    print(f"total {total * 1e3:.1f} ms, inside instances {inside * 1e3:.1f} ms ({inside / total:.0%}), "
          f"engine {(total - inside) * 1e3:.1f} ms; NaN share {np.isnan(weights).mean():.1%}")


if __name__ == "__main__":
    main()
