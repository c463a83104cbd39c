"""Rolling longitudinal kernel against its long-double NumPy reference, bottleneck and pandas,
and the peak memory of the longitudinal fast path.

Data: C-contiguous (100000, 500) float64 with a few NaN holes, window 20. Every timing is the
best of REPEAT runs in this process; ratios are other / kernel (above 1: the kernel is faster).
Run: .venv/bin/python bench/bench_fast_paths_rolling.py
"""
from __future__ import annotations

import tracemalloc

import numpy as np
from _timing import best_time, optional_module

from quillmarsh._reference.rolling import rolling_reference
from quillmarsh.functions.builtins.longitudinal import ROLLING_MEAN, ROLLING_STD, ROLLING_ZSCORE
from quillmarsh.functions.registry import default_registry
from quillmarsh.simulator_engine import expression_evaluator as ee
from quillmarsh.simulator_engine._types import FunctionGraphNode as Node

T, N, WINDOW, REPEAT = 100_000, 500, 20, 3
bottleneck = optional_module("bottleneck")
pandas = optional_module("pandas")


def make_data():
    rng = np.random.default_rng(0)
    data = rng.standard_normal((T, N))
    data[rng.random((T, N)) < 1e-4] = np.nan
    return data


def others(data, name):
    """Name -> callable computing the same statistic with another library."""
    out = {"numpy long-double reference": lambda: rolling_reference(data, WINDOW, name)}
    if bottleneck is not None:
        def mean():
            return bottleneck.move_mean(data, WINDOW, axis=0)

        def std():
            return bottleneck.move_std(data, WINDOW, axis=0, ddof=0)

        out["bottleneck"] = {ROLLING_MEAN: mean, ROLLING_STD: std,
                             ROLLING_ZSCORE: lambda: (data - mean()) / std()}[name]
    if pandas is not None:
        window = pandas.DataFrame(data).rolling(WINDOW)
        out["pandas"] = {ROLLING_MEAN: window.mean,
                         ROLLING_STD: lambda: window.std(ddof=0),
                         ROLLING_ZSCORE: lambda: (window.obj - window.mean()) / window.std(ddof=0)}[name]
    return out


def bench_kernel(data):
    for name, label in [(ROLLING_MEAN, "mean"), (ROLLING_STD, "std"), (ROLLING_ZSCORE, "z-score")]:
        kernel_time, fast = best_time(lambda: ee._rolling_longitudinal_fast(data, WINDOW, name), REPEAT)
        print(f"{label:8s} kernel {kernel_time:8.3f} s")
        for other, fn in others(data, name).items():
            repeat = 1 if other.startswith("numpy") else REPEAT
            other_time, result = best_time(fn, repeat)
            if other.startswith("numpy"):
                np.testing.assert_array_equal(fast, result)
                other += " (cells identical)"
            print(f"{'':8s} {other:38s} {other_time:8.3f} s  ratio {other_time / kernel_time:6.1f}x")
            del result


def bench_path_memory(data):
    universe = np.ones((T, N))
    universe[::97, ::5] = 0.0
    context = ee.EvaluationContext([data], {"close": 0}, universe=universe, registry=default_registry())
    graph = Node("rotation", ROLLING_ZSCORE,
                 [Node("rotation", ROLLING_MEAN, [Node("feature", "close"), Node("int", 5)]), Node("int", WINDOW)])
    path_time, _ = best_time(lambda: ee.evaluate(graph, context), repeat=1)
    tracemalloc.start()
    result = ee.evaluate(graph, context)
    _, peak = tracemalloc.get_traced_memory()
    tracemalloc.stop()
    del result
    print(f"longitudinal path zscore(mean(close, 5), {WINDOW}) with universe: {path_time:.3f} s, "
          f"peak memory {peak / data.nbytes:.2f} matrices of {data.nbytes / 2**20:.0f} MiB beyond the inputs")


def main():
    data = make_data()
    print(f"rolling window {WINDOW} over C-contiguous {data.shape} float64, best of {REPEAT}")
    bench_kernel(data)
    bench_path_memory(data)


if __name__ == "__main__":
    main()
