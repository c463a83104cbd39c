"""Batch rank kernel against pandas and bottleneck on a masked matrix.

Data: (2520, 3000) float64 with about a tenth of the universe inactive. The kernel receives
the data and the universe and masks as it ranks; pandas and bottleneck receive the matrix
already masked. Every timing is the best of REPEAT runs in this process; ratios are
other / kernel (above 1: the kernel is faster). Cells are checked for equality.
Run: .venv/bin/python bench/bench_fast_paths_rank.py
"""
from __future__ import annotations

import numpy as np
from _timing import best_time, optional_module

from quillmarsh.simulator_engine import expression_evaluator as ee

T, N, REPEAT = 2520, 3000, 3
bottleneck = optional_module("bottleneck")
pandas = optional_module("pandas")


def make_inputs():
    rng = np.random.default_rng(0)
    data = rng.standard_normal((T, N))
    data[:, ::10] = np.round(data[:, ::10], 1)  # some ties
    universe = np.where(rng.random((T, N)) < 0.1, 0.0, 1.0)
    masked = np.where(universe == 0.0, np.nan, data)
    return data, universe, masked


def bottleneck_pct(masked):
    ranks = bottleneck.nanrankdata(masked, axis=1)
    return ranks / np.sum(~np.isnan(masked), axis=1, keepdims=True)


def main():
    data, universe, masked = make_inputs()
    kernel_time, ranks = best_time(lambda: ee._batch_rank(data, universe=universe), REPEAT)
    print(f"batch rank of {data.shape}, {np.mean(universe == 0.0):.0%} of cells masked, best of {REPEAT}")
    print(f"kernel                                   {kernel_time:8.3f} s")
    if pandas is not None:
        frame = pandas.DataFrame(masked)
        other_time, result = best_time(lambda: frame.rank(axis=1, method="average", pct=True), REPEAT)
        np.testing.assert_array_equal(ranks, result.to_numpy())
        print(f"pandas rank(axis=1, pct=True) (equal)    {other_time:8.3f} s  ratio {other_time / kernel_time:5.1f}x")
    if bottleneck is not None:
        other_time, _ = best_time(lambda: bottleneck.nanrankdata(masked, axis=1), REPEAT)
        np.testing.assert_array_equal(ranks, bottleneck_pct(masked))
        print(f"bottleneck nanrankdata(axis=1) (equal)   {other_time:8.3f} s  ratio {other_time / kernel_time:5.1f}x")


if __name__ == "__main__":
    main()
