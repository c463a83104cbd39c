"""The 101-alpha catalogue on the synthetic market: total and per-alpha evaluation time, and ten
of the alphas written with pandas, timed in the same run.

Data: the demo's synthetic market, 2520 days x 500 assets (seed 7). Each alpha is evaluated
once from its text form (parsing excluded, context building included) and its weights dropped
before the next one: a caller holding every result would add the page faults of ever fresh
memory to each evaluation (the ten compared alphas are evaluated again, untimed, for their
cells). Times are CPU time of the calling thread, steadier than wall time when other work
shares the machine; the engine starts no threads, so that is the whole cost on one core (the
process's CPU time would also count NumPy's BLAS threads, which spin for a while after the
market is generated). The pandas versions read the same features masked by the
universe; "agree" is the share of the cells finite in both that match to 1e-9 (relative), and
"finite" the share of cells finite in each (the engine leaves a signal's warm-up rows NaN,
where pandas may give a value).
Run: .venv/bin/python bench/bench_alpha101.py
"""
from __future__ import annotations

import time
from pathlib import Path

import numpy as np
from _timing import optional_module

from quillmarsh.functions.registry import default_registry

from quillmarsh.cli.engine_context import build_context
from quillmarsh.cli.evaluation import evaluate_graph
from quillmarsh.cli.market import synthetic_market
from quillmarsh.cli.signal_file import read_signal_file

DAYS, ASSETS, GOAL_SECONDS = 2520, 500, 4.0
CATALOGUE = Path(__file__).parents[1] / "examples" / "alpha101.txt"
COMPARED = {"alpha003", "alpha004", "alpha006", "alpha012", "alpha013", "alpha023", "alpha033", "alpha041",
            "alpha054", "alpha101"}
pandas = optional_module("pandas")


def evaluate(graph, market, registry):
    with np.errstate(all="ignore"):
        return np.asarray(evaluate_graph(graph, build_context(market, registry)).weights)


def pandas_alphas(pd, f):
    """Ten alphas in pandas over DataFrames of the masked features."""
    def rank(x):
        return x.rank(axis=1, pct=True)

    def corr(x, y, d):
        return x.rolling(d).corr(y)

    def delta(x, d):
        return x - x.shift(d)

    compared = {
        "alpha003": lambda: -corr(rank(f["open"]), rank(f["volume"]), 10),
        "alpha004": lambda: -rank(f["low"]).rolling(9).rank(pct=True),
        "alpha006": lambda: -corr(f["open"], f["volume"], 10),
        "alpha012": lambda: np.sign(delta(f["volume"], 1)) * -delta(f["close"], 1),
        "alpha013": lambda: -rank(rank(f["close"]).rolling(5).cov(rank(f["volume"]), ddof=0)),
        "alpha023": lambda: (-delta(f["high"], 2)).where(f["high"].rolling(20).mean() < f["high"], 0.0),
        "alpha033": lambda: rank(-(1 - f["open"] / f["close"])),
        "alpha041": lambda: (f["high"] * f["low"]) ** 0.5 - f["vwap"],
        "alpha054": lambda: (-(f["low"] - f["close"]) * f["open"] ** 5) / ((f["low"] - f["high"]) * f["close"] ** 5),
        "alpha101": lambda: (f["close"] - f["open"]) / (f["high"] - f["low"] + 0.001),
    }
    assert set(compared) == COMPARED
    return compared


def agreement(ours, theirs):
    both = np.isfinite(ours) & np.isfinite(theirs)
    return np.isclose(ours[both], theirs[both], rtol=1e-9, atol=1e-12).sum() / max(both.sum(), 1)


def main():
    registry = default_registry()
    market = synthetic_market(DAYS, ASSETS)
    alphas = read_signal_file(CATALOGUE, registry)
    print(f"{len(alphas)} alphas on {DAYS} days x {ASSETS} assets")
    seconds = {}
    for alpha in alphas:
        started = time.thread_time()
        evaluate(alpha.graph, market, registry)  # dropped at once, as the next evaluation starts
        seconds[alpha.name] = time.thread_time() - started
    total = sum(seconds.values())
    print(f"total {total:.2f} s CPU (goal {GOAL_SECONDS:.0f} s: {total / GOAL_SECONDS:.1f}x the goal); "
          f"median {np.median(list(seconds.values())) * 1000:.0f} ms per alpha")
    ranked = sorted(seconds.items(), key=lambda item: -item[1])
    for start in range(0, len(ranked), 4):
        print("  ".join(f"{name} {time_:7.3f}s" for name, time_ in ranked[start:start + 4]))
    if pandas is not None:
        graphs = {alpha.name: alpha.graph for alpha in alphas}
        compare_with_pandas(pandas, market, seconds, lambda name: evaluate(graphs[name], market, registry))


def compare_with_pandas(pd, market, seconds, weights_of):
    live = market.universe == 1
    frames = {name: pd.DataFrame(np.where(live, matrix, np.nan)) for name, matrix in market.features.items()}
    print(f"\n{'alpha':10s} {'engine':>9s} {'pandas':>9s} {'pandas/engine':>14s} {'agree':>7s} "
          f"{'finite':>15s}")
    ours_total = theirs_total = 0.0
    for name, compute in pandas_alphas(pd, frames).items():
        started = time.thread_time()
        with np.errstate(all="ignore"):
            theirs = np.where(live, compute().to_numpy(), np.nan)
        elapsed = time.thread_time() - started
        ours_total += seconds[name]
        theirs_total += elapsed
        ours = weights_of(name)  # evaluated again, untimed, for the cells
        print(f"{name:10s} {seconds[name]:8.3f}s {elapsed:8.3f}s {elapsed / seconds[name]:14.2f} "
              f"{agreement(ours, theirs):7.1%} {np.isfinite(ours).mean():7.1%} {np.isfinite(theirs).mean():7.1%}")
    print(f"{'ten':10s} {ours_total:8.3f}s {theirs_total:8.3f}s {theirs_total / ours_total:14.2f}")


if __name__ == "__main__":
    main()
