"""Cost of the general evaluator's per-row loop.

A chain of 20 function nodes over one feature leaf, every node a trivial bound
instance returning a preallocated row, at T = 2,520 rows and N_alloc = 500.
Prints the engine's own cost per node-row (the evaluation time minus the time
the instances spend being called, over T x nodes) and the speed-up over a
straightforward pure-Python loop (dicts of registers, numpy.copy per argument).
Goals: <= 1 microsecond per node-row, >= 5x faster than the Python loop.
"""

import numpy as np
from _timing import best_time

from quillmarsh.simulator_engine import expression_evaluator as ee
from quillmarsh.simulator_engine._types import FunctionGraphNode as Node

T, N_ALLOC, NODES, REPEATS = 2520, 500, 20, 5


class Trivial:
    stateful = False

    def __init__(self):
        self.out = np.zeros(N_ALLOC)

    def __call__(self, *args):
        return self.out


def chain_graph():
    """root = f19(f18(...f0(close))): paths root, root.c0, root.c0.c0, ..."""
    node = Node("feature", "close")
    for i in range(NODES):
        node = Node("rotation", f"f{i}", [node])
    paths = ["root" + ".c0" * depth for depth in range(NODES)]
    return node, {path: Trivial() for path in paths}


def instance_time(instances):
    """The same T x NODES instance calls, from a bare Python loop."""
    arg = np.zeros(N_ALLOC)
    calls = list(instances.values())

    def run():
        for _ in range(T):
            for instance in calls:
                instance(arg)
    return best_time(run, REPEATS)[0]


def python_loop(graph, instances, features, universe):
    """A straightforward pure-Python row loop over the same graph."""
    nodes = {}

    def collect(node, path):
        for i, child in enumerate(node.children or []):
            collect(child, f"{path}.c{i}")
        nodes[path] = (node, [f"{path}.c{i}" for i in range(len(node.children or []))])
    collect(graph, "root")
    registers = {path: np.zeros(N_ALLOC) for path in nodes}
    out = np.zeros((T, N_ALLOC))
    for t in range(T):
        for path, (node, children) in nodes.items():
            if node.type == "feature":
                row = features[t].copy()
                row[(universe[t] == 0.0) | np.isnan(universe[t])] = np.nan
                registers[path][:] = row
                continue
            result = instances[path](*[np.copy(registers[child]) for child in children])
            if isinstance(result, np.ndarray) and (result.shape != (N_ALLOC,) or result.dtype != np.float64):
                raise ValueError("bad result")
            registers[path][:] = result
        out[t] = registers["root"]
    return out


def main():
    rng = np.random.default_rng(0)
    features = rng.normal(size=(T, N_ALLOC))
    universe = np.ones((T, N_ALLOC))
    graph, instances = chain_graph()
    node_rows = T * NODES
    own = instance_time(instances)

    def engine(collect_outputs):
        ctx = ee.EvaluationContext([features], {"close": 0}, universe=universe)
        ctx._collect_node_outputs = collect_outputs
        return lambda: ee.evaluate(graph, ctx, bound_function_instances=instances)

    loop = best_time(engine(False), REPEATS)[0]
    with_capture = best_time(engine(True), REPEATS)[0]
    reference = best_time(lambda: python_loop(graph, instances, features, universe), REPEATS)[0]
    ctx = ee.EvaluationContext([features], {"close": 0}, universe=universe)
    np.testing.assert_array_equal(ee.evaluate(graph, ctx, bound_function_instances=instances).weights,
                                  python_loop(graph, instances, features, universe))

    print(f"T={T} N_alloc={N_ALLOC} function nodes={NODES} (best of {REPEATS})")
    print(f"instances' own time          {own * 1e3:8.2f} ms")
    print(f"engine, no node outputs      {loop * 1e3:8.2f} ms  "
          f"-> {(loop - own) / node_rows * 1e6:.3f} us per node-row (goal <= 1)")
    print(f"engine, node outputs kept    {with_capture * 1e3:8.2f} ms  "
          f"-> {(with_capture - own) / node_rows * 1e6:.3f} us per node-row")
    print(f"pure-Python loop             {reference * 1e3:8.2f} ms  "
          f"-> engine {reference / loop:.1f}x faster (goal >= 5)")


if __name__ == "__main__":
    main()
