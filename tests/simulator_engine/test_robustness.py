"""Whatever Python hands the engine, it answers with a Python error, never a crash."""
import itertools
import sys

import numpy as np
import pytest

from quillmarsh.functions.registry import default_registry
from quillmarsh.simulator_engine import expression_evaluator as ee
from quillmarsh.simulator_engine._types import FunctionGraphNode as Node, UsefulSignal

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


RANK = Node("rotation", "latitudinal_rank_688068", [Node("feature", "x")])
CHAIN = Node("rotation", "longitudinal_accumulators_25c7fb", [Node("feature", "x"), Node("int", 3)])
# Each case changes a consistent 3 x 2 context.
BROKEN_CONTEXTS = [
    dict(features=[[1.0, 2.0]], universe=np.ones((1, 2))), dict(features=[np.ones(4)], universe=np.ones(4)),
    dict(feature_index={"x": 5}), dict(feature_index={"x": -1}), dict(feature_index={"x": "0"}),
    dict(features=[np.ones((3, 2)), np.ones((2, 2))], feature_index={"x": 1}),
    dict(universe=np.ones((2, 2))), dict(universe=[[1, 1]] * 3), dict(features=[np.array([["a", "b"]] * 3)]),
    dict(universe=None, universe_mask=np.ones((3, 2)), registry=default_registry()), dict(registry=object()),
    dict(registry=default_registry(), useful_signals={"s": UsefulSignal(weights=np.ones(2))}),
    dict(features=None), dict(features=np.ones((3, 2))),
]


@pytest.mark.parametrize("graph", [Node("feature", "x"), RANK, CHAIN], ids=["leaf", "rank", "chain"])
@pytest.mark.parametrize("changes", BROKEN_CONTEXTS)
def test_evaluate_survives_inconsistent_contexts(graph, changes):
    fields = {"features": [np.ones((3, 2))], "feature_index": {"x": 0}, "universe": np.ones((3, 2)), **changes}
    try:
        ee.evaluate(graph, ee.EvaluationContext(**fields, validate_inputs=False), data_nan_features=None)
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
