"""Two contexts evaluated from two Python threads against the same two evaluated one after
the other: the kernels release the GIL, so the threads overlap.

Graphs: the rank product and the rolling z-score chain (longitudinal fast path), each on its own
(100,000, 300) context. Timings are the best of REPEAT runs in this process; the ratio is
sequential / threaded (at most the number of cores).
Run: .venv/bin/python bench/bench_context_threads.py
"""
from __future__ import annotations

import os
import threading

import numpy as np
from _timing import best_time

from quillmarsh.functions.builtins.longitudinal import ROLLING_MEAN, ROLLING_ZSCORE
from quillmarsh.functions.registry import default_registry
from quillmarsh.simulator_engine import expression_evaluator as ee
from quillmarsh.simulator_engine._types import FunctionGraphNode as Node

T, N, REPEAT = 100_000, 300, 3
RANK, COMBINE = "latitudinal_rank_688068", "numerical_combine_d65e04"


def graphs():
    rank_product = Node("rotation", COMBINE, [Node("rotation", RANK, [Node("feature", "close")]),
                                              Node("rotation", RANK, [Node("feature", "volume")])])
    rolling = Node("rotation", ROLLING_MEAN, [Node("feature", "close"), Node("int", 5)])
    zscore = Node("rotation", ROLLING_ZSCORE, [rolling, Node("int", 20)])
    return {"rank product": rank_product, "rolling z-score": zscore}


def contexts(count):
    rng = np.random.default_rng(5)
    return [ee.EvaluationContext([rng.standard_normal((T, N)), rng.lognormal(size=(T, N))],
                                 {"close": 0, "volume": 1}, universe=np.ones((T, N)),
                                 registry=default_registry())
            for _ in range(count)]


def sequential(graph, ctxs):
    for ctx in ctxs:
        ee.evaluate(graph, ctx)


def threaded(graph, ctxs):
    workers = [threading.Thread(target=ee.evaluate, args=(graph, ctx)) for ctx in ctxs]
    for worker in workers:
        worker.start()
    for worker in workers:
        worker.join()


def main():
    ctxs = contexts(2)
    print(f"two contexts of ({T}, {N}) on {os.cpu_count()} cores, best of {REPEAT}")
    for label, graph in graphs().items():
        one_by_one, _ = best_time(lambda: sequential(graph, ctxs), REPEAT)
        parallel, _ = best_time(lambda: threaded(graph, ctxs), REPEAT)
        print(f"{label:16s} sequential {one_by_one:6.3f} s  two threads {parallel:6.3f} s  "
              f"ratio {one_by_one / parallel:4.2f}x")


if __name__ == "__main__":
    main()
