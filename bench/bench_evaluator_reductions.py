"""Reductions over a pool of useful signals: time per row of the engine against NumPy.

A pool of 200 signals (T = 2,520, N_alloc = 500), a filtration passing about half of them,
then a stateless reduction (mean of the passing rows) and a stateful one (PnL-weighted).
The baseline does the same extraction in a Python loop and averages it with numpy.mean. The
stateful reduction runs twice: its native instance, stepped by the evaluator in C++, and its
NumPy twin, called through Python at every row; their cells are checked equal.
Run: .venv/bin/python bench/bench_evaluator_reductions.py
"""
from __future__ import annotations

import time

import numpy as np

from quillmarsh._reference.reductions import PnlWeightedReduction
from quillmarsh.functions.registry import FunctionRegistry, default_registry
from quillmarsh.simulator_engine import expression_evaluator as ee
from quillmarsh.simulator_engine._types import FunctionGraphNode as Node
from quillmarsh.simulator_engine._types import UsefulSignal

T, N, POOL = 2520, 500, 200
STATELESS = "reduction_mean_3f9c2e"
STATEFUL = "reduction_pnl_weighted_b7d41a"


def make_pool(rng):
    signals = {}
    for k in range(POOL):
        weights = rng.standard_normal((T, N))
        pnl = rng.standard_normal((T, 1)) * 0.01
        signals[f"s{k:03d}"] = UsefulSignal(weights=weights, pnl=pnl, metadata={"sharpe": float(rng.normal())})
    return signals


def filtered_reduction(function_name, *literals):
    filt = Node("filtration", "filtration", [Node("gt", "gt", [Node("string", "sharpe"), Node("float", 0.0)])])
    return Node("reduction", function_name, [filt, *literals])


def twin_registry():
    """A registry whose reductions are the NumPy twins, called through Python."""
    registry = FunctionRegistry()
    registry.register(STATEFUL, param_schema=default_registry().get_entry(STATEFUL).param_schema,
                      family="reduction", stateful=True, factory=PnlWeightedReduction)
    return registry


def run_engine(graph, signals, feature, universe, registry=None):
    registry = default_registry() if registry is None else registry
    ctx = ee.EvaluationContext([feature], {"close": 0}, useful_signals=signals, registry=registry,
                               universe=universe, column_labels=["gross_returns"])
    start = time.perf_counter()
    weights, _ = ee.evaluate(graph, ctx)
    return weights, time.perf_counter() - start


def run_numpy_loop(signals, passing):
    start = time.perf_counter()
    out = np.empty((T, N))
    for t in range(T):
        rows = np.stack([signals[sid].weights[t] for sid in passing])
        out[t] = np.mean(rows, axis=0)
    return out, time.perf_counter() - start


def main():
    rng = np.random.default_rng(7)
    signals = make_pool(rng)
    feature = rng.standard_normal((T, N))
    universe = np.ones((T, N))
    passing = [sid for sid, s in signals.items() if s.metadata["sharpe"] > 0.0]
    print(f"pool {POOL} signals, {len(passing)} pass the filtration, T={T}, N_alloc={N}")

    mean_weights, t_mean = run_engine(filtered_reduction(STATELESS), signals, feature, universe)
    numpy_weights, t_numpy = run_numpy_loop(signals, passing)
    np.testing.assert_allclose(mean_weights, numpy_weights, rtol=1e-12, atol=1e-12)
    stateful_graph = filtered_reduction(STATEFUL, Node("int", 20))
    native_weights, t_stateful = run_engine(stateful_graph, signals, feature, universe)
    twin_weights, t_twin = run_engine(stateful_graph, signals, feature, universe, twin_registry())
    assert native_weights.tobytes() == twin_weights.tobytes()

    per_row = lambda seconds: seconds / T * 1e6  # noqa: E731
    print(f"stateless reduction (engine): {per_row(t_mean):8.1f} us/row")
    print(f"numpy.mean in a Python loop : {per_row(t_numpy):8.1f} us/row")
    print(f"stateful reduction (engine) : {per_row(t_stateful):8.1f} us/row (native instance)")
    print(f"stateful reduction, twin    : {per_row(t_twin):8.1f} us/row (NumPy instance called through Python)")
    print(f"ratio twin / native stateful: {t_twin / t_stateful:.2f}x")
    print(f"ratio numpy loop / engine stateless: {t_numpy / t_mean:.2f}x")


if __name__ == "__main__":
    main()
