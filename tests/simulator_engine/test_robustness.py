"""Whatever Python hands the engine, it answers with a Python error, never a crash."""
import itertools
import sys

import numpy as np
import pytest

from quillmarsh.functions.registry import default_registry
from quillmarsh.simulator_engine import expression_evaluator as ee
from quillmarsh.simulator_engine._types import FunctionGraphNode as Node

GARBAGE = [None, 0, -1, 2**70, 1.5, "root", b"x", [], [[1.0]], {}, {"a": 1}, np.zeros(3), np.zeros((2, 0)),
           np.zeros((2, 2), dtype=object), Node("feature", "x"), object()]

OPERATIONS = sorted(name for name in dir(ee)
                    if callable(getattr(ee, name)) and not isinstance(getattr(ee, name), type))


@pytest.mark.parametrize("name", OPERATIONS)
def test_module_operations_survive_garbage_arguments(name):
    operation = getattr(ee, name)
    for arity in range(0, 5):
        for args in itertools.islice(itertools.product(GARBAGE, repeat=arity), 0, 400, 7):
            try:
                operation(*args)
            except Exception:
                pass


@pytest.fixture
def recursion_limit_400():
    before = sys.getrecursionlimit()
    sys.setrecursionlimit(400)
    yield
    sys.setrecursionlimit(before)


def _rank_chain(depth):
    graph = Node("feature", "x")
    for _ in range(depth):
        graph = Node("rotation", "latitudinal_rank_688068", [graph])
    return graph


@pytest.mark.parametrize("walk", [
    ee.generate_node_identities,
    lambda graph: ee._compute_graph_warmup_rows(graph, default_registry()),
    lambda graph: ee.evaluate(graph, ee.EvaluationContext([np.ones((2, 2))], {"x": 0}, universe=np.ones((2, 2)),
                                                          registry=default_registry())),
])
def test_graph_walks_stop_at_the_recursion_limit(walk, recursion_limit_400):
    walk(_rank_chain(300))
    with pytest.raises(RecursionError):
        walk(_rank_chain(500))
