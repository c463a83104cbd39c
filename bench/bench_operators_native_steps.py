"""The engine's own cost per native built-in node-row on the general evaluator.

A chain of 20 native element-wise nodes (neg) over one feature leaf, instances created by the
registry, at T = 2,520 rows: once with N_alloc = 1 (the cell arithmetic is then negligible, so
the time per node-row is the engine's own cost) and once with N_alloc = 500. The same chain
with every instance behind a Python call (the path a user's Python instance takes) is
measured in the same run.
Goal: <= 0.1 microsecond per node-row plus the arithmetic.
Run: .venv/bin/python bench/bench_operators_native_steps.py
"""
import numpy as np
from _timing import best_time

from quillmarsh.functions.registry import FunctionRegistry, default_registry
from quillmarsh.simulator_engine import expression_evaluator as ee
from quillmarsh.simulator_engine._types import FunctionGraphNode as Node
from quillmarsh.simulator_engine.expression_evaluator import NativeFunction

T, NODES, REPEATS = 2520, 20, 5
NEG = "elementwise_neg_c732df"


class PythonCall:
    """A native instance behind a Python call."""

    stateful = False

    def __init__(self, native):
        self._native = native

    def __call__(self, *rows, context=None):
        return self._native(*rows)


def python_call_registry():
    registry = FunctionRegistry()
    registry.register(NEG, factory=lambda: PythonCall(NativeFunction(NEG)))
    return registry


def chain():
    node = Node("feature", "close")
    for _ in range(NODES):
        node = Node("rotation", NEG, [node])
    return node


def evaluation_time(n, registry):
    rng = np.random.default_rng(0)
    ctx = ee.EvaluationContext([rng.normal(size=(T, n))], {"close": 0}, universe=np.ones((T, n)),
                               registry=registry)
    return best_time(lambda: ee.evaluate(chain(), ctx), REPEATS)[0]


def main():
    node_rows = T * NODES
    print(f"T={T}, chain of {NODES} native nodes (best of {REPEATS})")
    for n in (1, 500):
        native = evaluation_time(n, default_registry())
        python = evaluation_time(n, python_call_registry())
        print(f"N_alloc={n:4d}: native {native * 1e3:7.2f} ms -> {native / node_rows * 1e6:.3f} us per node-row"
              f" (goal <= 0.1 plus arithmetic); through Python calls {python * 1e3:7.2f} ms"
              f" -> native {python / native:.1f}x faster")


if __name__ == "__main__":
    main()
